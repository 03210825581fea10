#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/program_runner.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

struct ShownRun {
  std::string command;
  Lines output;
};

/// Trailing blanks and empty lines at the end cannot be seen by a reader.
Lines visible_lines(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line.substr(0, line.find_last_not_of(' ') + 1));
  }
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}

/// The commands of the code blocks that begin with "$ ", with their further lines, which begin with ">", each
/// with the lines shown below it.
std::vector<ShownRun> shown_runs(const std::string& document) {
  std::vector<ShownRun> runs;
  std::istringstream stream(test_support::read_file(document));
  bool in_block = false;
  bool in_run = false;
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("```")) {
      in_block = !in_block;
      in_run = false;
    } else if (in_block && line.starts_with("$ ")) {
      runs.push_back({line.substr(2), {}});
      in_run = true;
    } else if (in_run && runs.back().output.empty() && line.starts_with(">")) {
      runs.back().command += '\n' + line.substr(std::min<std::size_t>(2, line.size()));
    } else if (in_run) {
      runs.back().output.push_back(line);
    }
  }
  for (ShownRun& run : runs) {
    while (!run.output.empty() && run.output.back().empty()) run.output.pop_back();
  }
  return runs;
}

/// A shown line "..." stands for any number of lines.
bool matches(std::span<const std::string> shown, std::span<const std::string> printed) {
  if (shown.empty()) return printed.empty();
  if (shown[0] != "...") {
    return !printed.empty() && shown[0] == printed[0] && matches(shown.subspan(1), printed.subspan(1));
  }
  for (std::size_t skipped = 0; skipped <= printed.size(); ++skipped) {
    if (matches(shown.subspan(1), printed.subspan(skipped))) return true;
  }
  return false;
}

std::string standard_output(const fs::path& folder, const std::string& command) {
  const std::string script = "cd '" + folder.string() + "' && export TZ=UTC LC_ALL=C PATH='" +
                             fs::path(VRII_PROGRAM).parent_path().string() + "':\"$PATH\" && { " + command +
                             "\n} 2>/dev/null";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen(script.c_str(), "r"), ::pclose);
  std::string output;
  char piece[4096];
  while (const std::size_t count = std::fread(piece, 1, sizeof piece, pipe.get()))
    output.append(piece, count);
  return output;
}

TEST(Guide, EveryCommandShownPrintsWhatFollowsIt) {
  const fs::path samples = VRII_SAMPLES;
  for (const char* name : {"README.md", "docs/guide.md"}) {
    const auto runs = shown_runs((samples.parent_path() / name).string());
    EXPECT_GE(runs.size(), 3u) << name;
    const test_support::TemporaryFolder folder;
    fs::copy(samples, folder.path());
    for (const ShownRun& run : runs) {
      const std::string output = standard_output(folder.path(), run.command);
      EXPECT_TRUE(matches(run.output, visible_lines(output))) << name << ": " << run.command << "\n"
                                                              << output;
    }
  }
}

}  // namespace
