#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "inspect/records/inspect_errors.h"
#include "inspect/vr_inspect_internal.h"
#include "tests/support/files.h"
#include "tests/support/memory_file.h"

namespace {

using inspect::InspectOptions;
using test_support::sample;

#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t kStep = 5;  // each run costs many times as much; the other builds take every place
#else
constexpr std::size_t kStep = 1;
#endif

std::vector<InspectOptions> ways_to_look() {
  InspectOptions full;
  full.print_partition.fill(true);
  full.print_full_extra = full.print_storages = full.compatibility = full.feature_toggle_info = true;
  full.print_extref = full.print_cookies = true;
  full.refs_level = 1;
  InspectOptions scan;
  scan.print_summary = false;
  InspectOptions check = scan;
  scan.scan = check.check_checksums = true;
  return {full, scan, check};
}

struct Sweep {
  const char* sample;
  bool cuts;  ///< else each byte is changed
};

class DamageSweep : public testing::TestWithParam<Sweep> {};

/// All listings at each place, and at some the scans, which read the whole file each time. Any status but 0
/// and 1, and any escape, ends the process with a status of its own; a hang ends it with a signal.
[[noreturn]] void run_sweep(const Sweep& sweep) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr || std::freopen("/dev/null", "w", stderr) == nullptr)
    ::_exit(3);
  support::Console console;
  ::alarm(300);
  const std::string bytes = test_support::read_file(sample(sweep.sample));
  std::vector<InspectOptions> ways = ways_to_look();
  for (std::size_t place = 0; place < bytes.size(); place += kStep) {
    std::string damaged = bytes.substr(0, sweep.cuts ? place : bytes.size());
    if (!sweep.cuts) damaged[place] = static_cast<char>(~damaged[place]);
    const test_support::MemoryFile file(damaged);
    for (InspectOptions& options : std::span(ways).first(place % 16 == 0 ? ways.size() : 1)) {
      inspect::RunState run{.console = console};
      int status = 1;
      try {
        status = inspect::inspect_part_file(file.name(), options, run);
      } catch (const inspect::FatalEscape&) {  // NOLINT(bugprone-empty-catch): status 1, and the end of a run
      }
      if (status != 0 && status != 1) ::_exit(2);
    }
  }
  ::_exit(0);
}

TEST_P(DamageSweep, EndsInAReportWhereverTheDamageIs) {
  EXPECT_EXIT(run_sweep(GetParam()), testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(Samples, DamageSweep,
                         testing::Values(Sweep{"obsolete.prt", true}, Sweep{"flat_le.prt", true},
                                         Sweep{"object_versions.prt", true}, Sweep{"obsolete.prt", false}));

}  // namespace
