#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <sstream>

#include "tests/support/program_runner.h"

namespace {

/// One text for a whole run: both streams and the status.
std::string transcript(const std::vector<std::string>& arguments) {
  const auto [status, out, err] = test_support::run_program(arguments, VRII_SAMPLES);
  return out + "---- standard error\n" + err + "---- status " + std::to_string(status) + "\n";
}

TEST(Golden, RunsOnSamplesPrintWhatTheyDid) {
  const std::string folder = std::string(VRII_GOLDENS) + "/";
  std::istringstream lines(test_support::read_file(folder + "commands.txt"));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string name;
    if (!(words >> name) || name[0] == '#') continue;
    const std::string printed = transcript({std::istream_iterator<std::string>(words), {}});
    const std::string path = folder + name + ".out";
    if (std::getenv("VRII_REFRESH_GOLDENS") != nullptr) test_support::write_file(path, printed);
    EXPECT_EQ(printed, test_support::read_file(path)) << name;
  }
}

}  // namespace
