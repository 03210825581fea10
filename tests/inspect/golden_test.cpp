#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/program_runner.h"

namespace {

struct GoldenRun {
  std::string name;
  std::vector<std::string> arguments;
};

std::string golden_folder() { return VRII_GOLDENS; }

std::vector<GoldenRun> golden_runs() {
  std::vector<GoldenRun> runs;
  std::istringstream lines(test_support::read_file(golden_folder() + "/commands.txt"));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    GoldenRun run;
    if (!(words >> run.name) || run.name[0] == '#') continue;
    for (std::string word; words >> word;) run.arguments.push_back(word);
    runs.push_back(run);
  }
  return runs;
}

/// One text for a whole run: both streams and the status.
std::string transcript(const GoldenRun& run) {
  const auto result = test_support::run_program(run.arguments, VRII_SAMPLES);
  return result.out + "---- standard error\n" + result.err + "---- status " + std::to_string(result.status) +
         "\n";
}

TEST(Golden, RunsOnSamplesPrintWhatTheyDid) {
  const bool refresh = std::getenv("VRII_REFRESH_GOLDENS") != nullptr;
  for (const GoldenRun& run : golden_runs()) {
    const std::string path = golden_folder() + "/" + run.name + ".out";
    if (refresh) test_support::write_file(path, transcript(run));
    EXPECT_EQ(transcript(run), test_support::read_file(path)) << run.name;
  }
}

}  // namespace
