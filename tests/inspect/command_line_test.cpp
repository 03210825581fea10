#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "inspect/help_texts.h"
#include "inspect/options.h"
#include "tests/support/captured.h"
#include "tests/support/program_runner.h"

namespace {

using inspect::InspectOptions;
using test_support::run_program;

InspectOptions parse(std::vector<const char*> arguments, int* first_file = nullptr) {
  arguments.insert(arguments.begin(), "vr_inspect");
  InspectOptions options;
  const int first = inspect::parse_options(static_cast<int>(arguments.size()), arguments.data(), options);
  if (first_file != nullptr) *first_file = first;
  return options;
}

/// All that is asked for: the partition types to list, then the rest by name.
std::string asked_for(const InspectOptions& o) {
  std::string text;
  for (std::size_t type = 0; type < o.print_partition.size(); ++type) {
    if (o.print_partition[type]) text += std::to_string(type) + " ";
  }
  const std::pair<bool, const char*> flags[] = {
      {o.print_summary, "summary "},
      {o.print_full_extra, "extra "},
      {o.print_storages, "storages "},
      {o.compatibility, "compatibility "},
      {o.trace, "trace "},
      {o.print_cookies, "cookies "},
      {o.print_extref, "extref "},
      {o.refs_level == 1, "refs "},
      {o.refs_level == 2, "all_refs "},
      {o.feature_toggle_info, "toggles "},
      {o.scan, "scan "},
      {o.check_checksums, "check "},
      {o.release_only, "release "},
      {o.extract_jt, "jt "},
      {o.extract_all, "all "},
      {o.extract_stream, "stream "},
  };
  for (const auto& [set, name] : flags) text += set ? name : "";
  if (o.extract_partition != 0) text += std::to_string(o.extract_partition) + " ";
  for (const std::string& name :
       {std::string(o.extract_output_name.view()), o.stream_path, o.stream_output_name})
    if (!name.empty()) text += "'" + name + "' ";
  return text;
}

TEST(CommandLine, SwitchesAskForTheirJobAndNothingElse) {
  struct Case {
    std::vector<const char*> arguments;
    const char* asked;
    int first_file = 2;
  };
  const Case cases[] = {
      {{"a", "-rm"}, "summary ", 1},
      {{"-rm", "a", "-bogus"}, "1 summary "},
      {{"-cmod", "-ess", "-occ", "-path", "a"}, "3 4 6 7 summary ", 5},
      {{"-bs", "a"}, "2 10 12 13 14 16 17 18 19 summary "},
      {{"-full", "a"},
       "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 summary extra storages compatibility "},
      {{"-trace", "-cookies", "a"}, "summary trace cookies ", 3},
      {{"-extref", "-refs", "a"}, "summary extref refs ", 3},
      {{"-feature_toggle_info", "-refs", "-all_refs", "a"}, "summary all_refs toggles ", 4},
      {{"-scan", "a"}, "scan "},
      {{"-check_checksums", "a"}, "check "},
      {{"-compatibility", "a"}, "compatibility "},
      {{"-extract_jt", "a"}, "jt "},
      {{"-release", "a"}, "release "},
      {{"-storages", "a"}, "storages "},
      {{"-extract_all", "a"}, "all "},
      {{"-extract_all", "a", "out"}, "all 'out' "},
      {{"-extract", "3", "a"}, "3 ", 3},
      {{"-extract", "0x1f", "a", "out"}, "31 'out' ", 3},
      {{"-extract", "010", "a"}, "8 ", 3},
      {{"-extract_stream", "root/sub/data", "o", "-rm", "a"}, "1 stream 'root/sub/data' 'o' ", 5},
  };
  for (const Case& c : cases) {
    int first_file = 0;
    EXPECT_EQ(asked_for(parse(c.arguments, &first_file)), c.asked);
    EXPECT_EQ(first_file, c.first_file) << c.asked;
  }
}

TEST(CommandLine, OutputNamesAreNeverCut) {
  const std::string fits(3468, 'x');
  const std::string too_long(3469, 'x');
  EXPECT_EQ(parse({"-extract", "3", "a", fits.c_str()}).extract_output_name.view(), fits);
  EXPECT_EQ(test_support::escape_of([&] {
              parse({"-extract_all", "a", too_long.c_str()});
            }),
            "1510005 buffer size 3469 is too small for source string length 3469");
  EXPECT_EQ(run_program({"-extract", "3", "a", too_long}).status, 1);
}

TEST(CommandLine, UsageErrorsGoToBothStreams) {
  const std::string number = "Extract must be followed by a partition number and 1 or 2 filenames\n";
  const std::string all = "extract_all must be followed by 1 or 2 filenames\n";
  struct Case {
    std::vector<std::string> arguments;
    std::string message;
  };
  const Case cases[] = {
      {{"-rm"}, "No filenames specified\n"},
      {{"-extract_stream", "a", "b"}, "No filenames specified\n"},
      {{"-bogus", "-help"}, "Unknown command switch -bogus\n"},
      {{"-RM", "a"}, "Unknown command switch -RM\n"},
      {{"-"}, "Unknown command switch -\n"},
      {{"-extract"}, number},
      {{"-extract", "3"}, number},
      {{"-extract", "x", "a.prt"}, number},
      {{"-extract", "-3", "a.prt"}, number},
      {{"-extract", "3", "-rm"}, number},
      {{"-extract", "3", "a.prt", "-rm"}, number},
      {{"-extract", "3", "a.prt", "b.prt", "c.prt"}, number},
      {{"-extract_all"}, all},
      {{"-extract_all", "-rm", "a.prt"}, all},
      {{"-extract_all", "a", "b", "c"}, all},
  };
  for (const Case& c : cases) {
    const auto result = run_program(c.arguments);
    const std::string expected = "vr_inspect: " + c.message + inspect::kShortHelp + "\n";
    EXPECT_EQ(result.status, 1) << c.message;
    EXPECT_EQ(result.out, expected);
    EXPECT_EQ(result.err, expected);
  }
  EXPECT_EQ(run_program({"-extract_stream", "a"}).err,
            "vr_inspect: -extract_stream expects a stream-path and filename after it\n");
}

TEST(CommandLine, HelpTextsAreOnStandardOutputAlone) {
  const auto none = run_program({});
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(none.out, std::string("This is the KX 2606 version of vr_inspect.\n") + inspect::kShortHelp);
  EXPECT_EQ(none.err, "");
  const auto help = run_program({"-help", "-bogus"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out, inspect::kLongUsage);
  EXPECT_TRUE(help.out.ends_with("information stored in the part\n "));
  for (const inspect::CommandSwitch& entry : inspect::command_switches()) {
    EXPECT_NE(help.out.find(std::string(" ") + entry.name), std::string::npos) << entry.name;
  }
}

}  // namespace
