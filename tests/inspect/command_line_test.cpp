#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "inspect/help_texts.h"
#include "inspect/options.h"
#include "support/error_escape.h"
#include "tests/support/program_runner.h"

namespace {

using inspect::InspectOptions;
using test_support::run_program;

struct Parsed {
  InspectOptions options;
  int first_file = 0;
};

Parsed parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "vr_inspect");
  Parsed parsed;
  parsed.first_file =
      inspect::parse_options(static_cast<int>(arguments.size()), arguments.data(), parsed.options);
  return parsed;
}

std::vector<int> slots(const InspectOptions& options) {
  std::vector<int> set;
  for (std::size_t i = 0; i < options.print_partition.size(); ++i) {
    if (options.print_partition[i]) set.push_back(static_cast<int>(i));
  }
  return set;
}

TEST(CommandLine, SwitchesSetTheirSlotsAndNothingElse) {
  EXPECT_EQ(slots(parse({"-bs", "a"}).options), (std::vector{2, 10, 12, 13, 14, 16, 17, 18, 19}));
  EXPECT_EQ(slots(parse({"-rm", "-cmod", "-ess", "-occ", "-path", "a"}).options),
            (std::vector{1, 3, 4, 6, 7}));
  const InspectOptions full = parse({"-full", "a"}).options;
  EXPECT_EQ(slots(full).size(), 20U);
  EXPECT_TRUE(full.print_full_extra && full.print_storages && full.compatibility && full.print_summary);
  EXPECT_FALSE(full.print_extref || full.scan || full.release_only || full.extract_jt ||
               full.refs_level != 0);
}

TEST(CommandLine, SwitchesOfOneJobClearTheSummary) {
  for (const char* name :
       {"-scan", "-check_checksums", "-compatibility", "-extract_jt", "-release", "-storages"}) {
    EXPECT_FALSE(parse({name, "a"}).options.print_summary) << name;
  }
  for (const char* name :
       {"-feature_toggle_info", "-trace", "-cookies", "-refs", "-all_refs", "-extref", "-rm"}) {
    EXPECT_TRUE(parse({name, "a"}).options.print_summary) << name;
  }
  EXPECT_EQ(parse({"-refs", "-all_refs", "a"}).options.refs_level, 2);
}

TEST(CommandLine, SwitchesEndAtTheFirstName) {
  EXPECT_EQ(parse({"file1", "-rm"}).first_file, 1);
  const Parsed parsed = parse({"-rm", "a", "-bogus"});
  EXPECT_EQ(parsed.first_file, 2);
  EXPECT_EQ(slots(parsed.options), std::vector{1});
}

TEST(CommandLine, ExtractionTakesIdsAndNames) {
  const Parsed plain = parse({"-extract", "3", "a.prt"});
  EXPECT_EQ(plain.options.extract_partition, 3);
  EXPECT_TRUE(plain.options.extract_output_name.empty());
  EXPECT_EQ(plain.first_file, 3);
  EXPECT_EQ(parse({"-extract", "0x1f", "a.prt"}).options.extract_partition, 31);
  EXPECT_EQ(parse({"-extract", "010", "a.prt"}).options.extract_partition, 8);
  EXPECT_EQ(parse({"-extract", "3", "a.prt", "out"}).options.extract_output_name.view(), "out");
  EXPECT_EQ(parse({"-extract_all", "a.prt", "out"}).options.extract_output_name.view(), "out");
  EXPECT_FALSE(parse({"-extract_all", "a.prt"}).options.print_summary);
  const Parsed stream = parse({"-extract_stream", "root/sub/data", "out.bin", "-rm", "a.prt"});
  EXPECT_EQ(stream.options.stream_path, "root/sub/data");
  EXPECT_EQ(stream.options.stream_output_name, "out.bin");
  EXPECT_EQ(slots(stream.options), std::vector{1});
  EXPECT_EQ(stream.first_file, 5);
}

TEST(CommandLine, OutputNamesAreNeverCut) {
  const std::string fits(3468, 'x');
  const std::string too_long(3469, 'x');
  EXPECT_EQ(parse({"-extract", "3", "a", fits.c_str()}).options.extract_output_name.view(), fits);
  try {
    parse({"-extract_all", "a", too_long.c_str()});
    FAIL() << "accepted";
  } catch (const support::ErrorEscape& escape) {
    EXPECT_EQ(escape.code(), 1510005);
    EXPECT_STREQ(escape.what(), "buffer size 3469 is too small for source string length 3469");
  }
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
  EXPECT_TRUE(
      help.out.starts_with("Usage: vr_inspect [<switches>] <filenames...>\n        where <filenames>"));
  EXPECT_TRUE(help.out.ends_with("information stored in the part\n "));
}

TEST(CommandLine, EverySwitchOfTheTableIsInTheUsage) {
  for (const inspect::CommandSwitch& entry : inspect::command_switches()) {
    EXPECT_NE(std::string(inspect::kLongUsage).find(std::string(" ") + entry.name), std::string::npos)
        << entry.name;
  }
}

}  // namespace
