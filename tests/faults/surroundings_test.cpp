#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "cfi/writing/top_storage_writer.h"
#include "inspect/signals.h"
#include "support/console.h"
#include "support/output_file.h"
#include "tests/support/program_runner.h"

namespace {

namespace fs = std::filesystem;
using test_support::ProgramResult;
using test_support::sample;
using test_support::TemporaryFolder;

constexpr bool kUnderSanitizers = std::string_view(VRII_FAULT_LIBRARY).empty();

bool has(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

/// Runs a shell command in which $P is the inspector and $R the reporter; its standard error goes to a file,
/// and so does its standard output unless the command says otherwise.
ProgramResult run_shell(const TemporaryFolder& folder, const std::string& command) {
  const TemporaryFolder streams;
  const std::string prefix =
      "cd '" + folder.path().string() + "' && P='" VRII_PROGRAM "' R='" VRII_REPORT_PROGRAM "' && exec >'" +
      (streams.path() / "out").string() + "' 2>'" + (streams.path() / "err").string() + "'\n";
  const int status = std::system((prefix + command).c_str());
  return {WEXITSTATUS(status), streams.read("out"), streams.read("err")};
}

void copy_samples(const TemporaryFolder& folder, const std::vector<std::string>& names) {
  for (const std::string& name : names) fs::copy(sample(name), folder.path());
}

TEST(Surroundings, WhatTheCallerTakesAwayIsToldAndNothingElseIsSpoilt) {
  struct Case {
    std::string command;
    int status;
    std::string error;        ///< in standard error, which is empty when this is
    std::string output = {};  ///< a file that is as a run in sound surroundings leaves it; none when empty
  };
  const std::string one = "-extract_stream VR_PART/VR_PART vr.out bracket.prt";
  const std::string full = "$P -full -trace gearbox.prt history.prt";
  const std::string lost = "could not write to standard output";
  const Case cases[] = {
      {"$P -full bracket.prt >/dev/full", 1, lost},
      {"$P -full bracket.prt >&-", 1, lost},
      {"$P " + one + " >&-", 1, lost, "vr.out"},
      {"$P " + one + " >&- 2>&-", 1, "", "vr.out"},
      {"$P " + one + " <&- 2>&-", 0, "", "vr.out"},
      {"$P " + one + " missing.prt 2>/dev/full", 1, "", "vr.out"},
      {"$P -extract_all damaged_checksums.prt >&- 2>&-", 1, "", "damaged_checksums_10.x_b"},
      {"{ " + full + "; echo $? >status; } | true; exit $(cat status)", 1, lost},
      {"ulimit -f 1; " + full + " >big.out", 1, lost},
      {"ulimit -f 8; $P " + one, 1, "output file vr.out is incomplete"},
      {"ulimit -f 1; $P -extract_all bracket.prt", 1, "write failed"},
      {"$R bracket.prt >/dev/full", 3, lost},
      {"$R -j2 --format jsonl . >/dev/full", 3, lost},
      {"$R --help >/dev/full", 3, lost},
      {"$R bracket.prt >&-", 3, lost},
      {"{ $R --format jsonl . . . .; echo $? >status; } | true; exit $(cat status)", 3, lost},
      {"ulimit -f 8; $R --format html -o new.html bracket.prt; s=$?; ls new.html* 2>&- && exit 9; exit $s", 3,
       "could not write to new.html: File too large"},
      {"$R -o bracket.prt bracket.prt", 3, "never written over"},
      {"echo old >old; $R -o old old; s=$?; test $(cat old) = old && exit $s", 3,
       "one of the files to examine"},
      {"$R --no-such-option bracket.prt", 3, "unknown option --no-such-option"},
      {"$R", 3, "no file is named"},
      {"$R --files0-from none", 3, "No such file or directory"},
      {"printf 'gearbox.prt\\0no\\nne' | $R --files0-from - -j2", 2, ""},
  };
  const TemporaryFolder sound;
  copy_samples(sound, {"bracket.prt", "damaged_checksums.prt"});
  run_shell(sound, "$P " + one + "; $P -extract_all damaged_checksums.prt");
  for (const Case& c : cases) {
    const TemporaryFolder folder;
    copy_samples(folder, {"bracket.prt", "gearbox.prt", "history.prt", "damaged_checksums.prt"});
    const ProgramResult result = run_shell(folder, c.command);
    EXPECT_EQ(result.status, c.status) << c.command << result.err;
    EXPECT_TRUE(c.error.empty() ? result.err.empty() : has(result.err, c.error)) << c.command << result.err;
    EXPECT_TRUE(c.output.empty() || folder.read(c.output) == sound.read(c.output)) << c.command;
    EXPECT_EQ(folder.read("bracket.prt"), test_support::read_file(sample("bracket.prt")));
  }
}

std::string numbered(unsigned number) {
  const std::string digits = std::to_string(number);
  return "part_" + std::string(5 - digits.size(), '0') + digits + ".prt";
}

/// The names of that form in a text.
std::set<std::string> names_in(const std::string& text, const std::string& before) {
  std::set<std::string> names;
  for (std::size_t at = 0; (at = text.find(before + "part_", at)) != std::string::npos; ++at)
    names.insert(text.substr(at + before.size(), numbered(0).size()));
  return names;
}

TEST(Surroundings, TenThousandFilesOfWhichEveryTenthIsDamaged) {
  constexpr unsigned kFiles = 10000;
  const TemporaryFolder folder;
  const std::vector<std::string> sound = {"flat_le.prt", "bracket.prt", "gearbox.prt", "latent.prt",
                                          "framed.prt"};
  const std::vector<std::string> damaged = {"damaged_cut.prt", "damaged_checksums.prt",
                                            "damaged_index_bit.prt", "damaged_marker.prt"};
  copy_samples(folder, sound);
  copy_samples(folder, damaged);
  std::set<std::string> names[2];
  for (unsigned i = 0; i < kFiles; ++i) {
    const bool is_damaged = i % 10 == 0;
    const std::string& part = is_damaged ? damaged[i / 10 % damaged.size()] : sound[i % sound.size()];
    fs::create_hard_link(folder.path() / part, folder.path() / numbered(i));
    names[is_damaged ? 1 : 0].insert(numbered(i));
  }
  // A leak of a few hundred bytes for each file would be too much.
  const std::string limits = kUnderSanitizers ? "ulimit -n 16; " : "ulimit -n 16; ulimit -v 16384; ";
  const ProgramResult result =
      run_shell(folder, limits + "$P -release -storages -check_checksums part_*.prt");
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(names_in(result.err, "") == names[1]);
  const std::set<std::string> reported = names_in(result.out, "Part name: ");
  for (const std::string& name : names[0]) EXPECT_TRUE(reported.contains(name)) << name;
}

TEST(Surroundings, ASignalLeavesWhatIsWholeAndNothingElse) {
  const TemporaryFolder folder;
  const std::string container = folder.write("container.prt", "old");
  const std::string device = (folder.path() / "link").string();
  fs::create_symlink("target", device);
  const auto write_all = [&] {
    if (std::freopen((folder.path() / "report").c_str(), "w", stdout) == nullptr) return;
    ::signal(SIGHUP, SIG_IGN);
    support::Console console;
    support::register_console(console);
    inspect::register_signal_handlers();
    console.print_text("a whole line\nhalf a line");
    ::raise(SIGHUP);
    const VRX::System::CFI::TopStorageWriter writer(container);
    support::OutputFile output, whole, linked;
    const bool open = output.open((folder.path() / "half").string()) && linked.open(device) &&
                      whole.open((folder.path() / "whole").string());
    if (open && output.write("half", 4) && whole.write("whole", 5) && whole.close()) ::raise(SIGPWR);
  };
  EXPECT_EXIT(write_all(), testing::ExitedWithCode(1), "Caught signal: 30, exiting");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 4);
  EXPECT_TRUE(fs::is_symlink(device));
  EXPECT_EQ(folder.read("report"), "a whole line\n");
  EXPECT_EQ(folder.read("container.prt"), "old");
  EXPECT_EQ(folder.read("whole"), "whole");
}

}  // namespace
