#include "tests/support/captured.h"

#include <gtest/gtest.h>

#include "support/error_escape.h"

namespace test_support {

Output captured(const std::function<void()>& run) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  run();
  Output output;
  output.out = testing::internal::GetCapturedStdout();
  output.err = testing::internal::GetCapturedStderr();
  return output;
}

Output captured(support::Console& console, const std::function<void()>& run) {
  return captured([&] {
    run();
    console.flush();
  });
}

std::string escape_of(const std::function<void()>& call) {
  try {
    call();
  } catch (const support::ErrorEscape& escape) {
    return std::to_string(escape.code()) + " " + escape.message();
  }
  return {};
}

}  // namespace test_support
