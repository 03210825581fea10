#include "tests/support/captured.h"

#include <gtest/gtest.h>

#include "support/console.h"

namespace test_support {

Output captured(const std::function<void()>& run) {
  support::flush_console();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  run();
  support::flush_console();
  Output output;
  output.out = testing::internal::GetCapturedStdout();
  output.err = testing::internal::GetCapturedStderr();
  return output;
}

}  // namespace test_support
