#pragma once

#include <functional>
#include <string>

namespace test_support {

/// What was written while something ran.
struct Output {
  std::string out;
  std::string err;
};

Output captured(const std::function<void()>& run);

/// Number and message of the escape that a call raises, "1020023 unexpected end of stream"; empty for none.
std::string escape_of(const std::function<void()>& call);

}  // namespace test_support
