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

}  // namespace test_support
