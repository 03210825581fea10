#pragma once

#include <functional>
#include <string>

#include "support/console.h"

namespace test_support {

/// What was written while something ran.
struct Output {
  std::string out;
  std::string err;
};

Output captured(const std::function<void()>& run);

/// The same with what `run` leaves waiting in the console.
Output captured(support::Console& console, const std::function<void()>& run);

/// Number and message of the escape that a call raises, "1020023 unexpected end of stream"; empty for none.
std::string escape_of(const std::function<void()>& call);

}  // namespace test_support
