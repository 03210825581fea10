#include <fnmatch.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <regex>

#include "tests/support/program_runner.h"

namespace {

namespace fs = std::filesystem;

/// Trailing blanks and empty lines at the end cannot be seen by a reader.
std::string visible(const std::string& text) {
  return std::regex_replace(text.substr(0, text.find_last_not_of(" \n") + 1), std::regex(" +\n"), "\n");
}

/// A shown line "..." stands for any lines, and every other sign for itself.
std::string pattern_of(const std::string& shown) {
  const std::string plain = std::regex_replace(visible(shown), std::regex(R"([*?[\\])"), R"(\$&)");
  return std::regex_replace(plain, std::regex("(^|\n)\\.\\.\\.(?=\n|$)"), "$1*");
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
  // A line that begins with "$ ", and the lines below it up to the next one or the end of the block.
  const std::regex shown_run("(?:^|\n)\\$ (.*)((?:\n(?!\\$ |```).*)*)");
  for (const char* name : {"README.md", "docs/guide.md"}) {
    const std::string document = test_support::read_file((samples.parent_path() / name).string());
    const test_support::TemporaryFolder folder;
    fs::copy(samples, folder.path());
    int count = 0;
    for (std::sregex_iterator run(document.begin(), document.end(), shown_run), end; run != end;
         ++run, ++count) {
      const std::string output = visible(standard_output(folder.path(), run->str(1)));
      const std::string pattern = pattern_of(run->str(2).substr(std::min<std::size_t>(run->length(2), 1)));
      EXPECT_EQ(::fnmatch(pattern.c_str(), output.c_str(), 0), 0) << name << ": " << run->str(1) << "\n"
                                                                  << output;
    }
    EXPECT_GE(count, 3) << name;
  }
}

}  // namespace
