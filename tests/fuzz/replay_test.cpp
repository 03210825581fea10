#include <gtest/gtest.h>

#include <filesystem>

#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/files.h"
#include "tests/support/part_session.h"

namespace {

namespace fs = std::filesystem;

/// Inputs that fuzzing has kept: what once broke the program, and a few that lead far into each reader. A
/// crash ends the test program, a hang the patience of ctest.
TEST(FuzzCases, AllEndInAReport) {
  const test_support::ScratchFolder scratch;
  for (const fuzz::Target& target : fuzz::targets()) {
    const fs::path folder = fs::path(VRII_FUZZ_CASES) / target.name;
    if (!fs::exists(folder)) continue;
    for (const auto& saved : fs::directory_iterator(folder)) {
      SCOPED_TRACE(saved.path());
      const std::string input = test_support::read_file(saved.path());
      EXPECT_NO_THROW(test_support::captured([&] { target.run(input); }));
    }
  }
}

}  // namespace
