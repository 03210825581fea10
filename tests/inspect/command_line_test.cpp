#include <gtest/gtest.h>

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
  support::Console console;
  const int first =
      inspect::parse_options(static_cast<int>(arguments.size()), arguments.data(), options, console);
  if (first_file != nullptr) *first_file = first;
  return options;
}

/// All that is asked for: the partition types to list, then the rest by name.
std::string asked_for(const InspectOptions& o) {
  std::string text;
  for (std::size_t type = 0; type < o.print_partition.size(); ++type) {
    if (o.print_partition[type]) text += std::to_string(type) + " ";
  }
  const bool flags[] = {o.print_summary,   o.print_full_extra,    o.print_storages, o.compatibility,
                        o.trace,           o.print_cookies,       o.print_extref,   o.refs_level == 1,
                        o.refs_level == 2, o.feature_toggle_info, o.scan,           o.check_checksums,
                        o.release_only,    o.extract_jt,          o.extract_all,    o.extract_stream};
  const char* const names[] = {"summary ", "extra ", "storages ", "compatibility ", "trace ", "cookies ",
                               "extref ",  "refs ",  "all_refs ", "toggles ",       "scan ",  "check ",
                               "release ", "jt ",    "all ",      "stream "};
  static_assert(std::size(flags) == std::size(names));
  for (std::size_t i = 0; i < std::size(flags); ++i) text += flags[i] ? names[i] : "";
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
      {{"-extract_stream", "root/sub/data", "o", "-rm", "a"}, "1 stream 'root/sub/data' 'o' ", 5}};
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
  const auto parse_long = [&] { parse({"-extract_all", "a", too_long.c_str()}); };
  EXPECT_EQ(test_support::escape_of(parse_long),
            "1510005 buffer size 3469 is too small for source string length 3469");
  EXPECT_EQ(run_program({"-extract", "3", "a", too_long}).status, 1);
}

TEST(CommandLine, UsageErrorsGoToBothStreams) {
  const std::string number = "Extract must be followed by a partition number and 1 or 2 filenames\n";
  const std::string all = "extract_all must be followed by 1 or 2 filenames\n";
  const std::string none = "No filenames specified\n";
  using Arguments = std::vector<std::string>;
  const std::pair<std::string, std::vector<Arguments>> cases[] = {
      {none, {{"-rm"}, {"-extract_stream", "a", "b"}}},
      {"Unknown command switch -bogus\n", {{"-bogus", "-help"}}},
      {"Unknown command switch -RM\n", {{"-RM", "a"}}},
      {"Unknown command switch -\n", {{"-"}}},
      {number,
       {{"-extract"},
        {"-extract", "3"},
        {"-extract", "x", "a.prt"},
        {"-extract", "-3", "a.prt"},
        {"-extract", "3", "-rm"},
        {"-extract", "3", "a.prt", "-rm"},
        {"-extract", "3", "a.prt", "b.prt", "c.prt"}}},
      {all, {{"-extract_all"}, {"-extract_all", "-rm", "a.prt"}, {"-extract_all", "a", "b", "c"}}}};
  for (const auto& [message, runs] : cases) {
    for (const Arguments& arguments : runs) {
      const auto result = run_program(arguments);
      const std::string expected = "vr_inspect: " + message + inspect::kShortHelp + "\n";
      EXPECT_EQ(result.status, 1) << message;
      EXPECT_EQ(result.out, expected);
      EXPECT_EQ(result.err, expected);
    }
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
  for (const inspect::CommandSwitch& entry : inspect::command_switches()) {
    EXPECT_NE(help.out.find(std::string(" ") + entry.name), std::string::npos) << entry.name;
  }
}

}  // namespace
