#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "inspect/vr_inspect_internal.h"
#include "support/error_escape.h"
#include "tests/support/files.h"
#include "tests/support/program_runner.h"

namespace {

using inspect::InspectOptions;
using test_support::sample;
using test_support::TemporaryFolder;

#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t kStep = 5;  // each run costs many times as much; the other builds take every place
#else
constexpr std::size_t kStep = 1;
#endif

/// In a process of its own without streams, so that a crash, a hang and an exit can be told from a status.
int status_of_child(const std::function<void()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    const int nowhere = ::open("/dev/null", O_WRONLY);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    ::alarm(300);
    work();
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return status;
}

std::vector<InspectOptions> ways_to_look() {
  InspectOptions full;
  full.print_partition.fill(true);
  full.print_full_extra = full.print_storages = full.compatibility = full.feature_toggle_info = true;
  full.print_extref = full.print_cookies = true;
  full.refs_level = 1;
  InspectOptions scan;
  scan.scan = true;
  scan.print_summary = false;
  InspectOptions check;
  check.check_checksums = true;
  check.print_summary = false;
  return {full, scan, check};
}

/// Any status but 0 and 1, and any escape, ends the child with a status of its own.
void inspect_in_ways(const char* name, std::span<InspectOptions> ways) {
  for (InspectOptions& options : ways) {
    const int status = inspect::inspect_part_file(name, options, inspect::FatalErrors::escape);
    if (status != 0 && status != 1) ::_exit(2);
  }
}

TEST(DamageSweep, EveryCutOfASampleEndsInAReport) {
  for (const char* name : {"obsolete.prt", "flat_le.prt", "object_versions.prt"}) {
    const TemporaryFolder folder;
    const std::string bytes = test_support::read_file(sample(name));
    const std::string path = folder.write("cut.prt", bytes);
    const int status = status_of_child([&] {
      std::vector<InspectOptions> ways = ways_to_look();
      for (std::size_t length = bytes.size(); length-- > 0;) {
        if (length % kStep != 0) continue;
        if (::truncate(path.c_str(), static_cast<off_t>(length)) != 0) ::_exit(3);
        // All listings of every cut; scans, which read the whole file each time, of some.
        const std::size_t count = length % 16 == 0 ? ways.size() : 1;
        inspect_in_ways(path.c_str(), std::span(ways).first(count));
      }
    });
    EXPECT_EQ(status, 0) << name;
  }
}

TEST(DamageSweep, EveryChangedByteEndsInAReport) {
  const TemporaryFolder folder;
  const std::string bytes = test_support::read_file(sample("obsolete.prt"));
  const std::string path = folder.write("flipped.prt", bytes);
  const int status = status_of_child([&] {
    std::vector<InspectOptions> ways = ways_to_look();
    const int file = ::open(path.c_str(), O_WRONLY);
    for (std::size_t i = 0; i < bytes.size(); i += kStep) {
      const char changed = static_cast<char>(~bytes[i]);
      if (::pwrite(file, &changed, 1, static_cast<off_t>(i)) != 1) ::_exit(3);
      inspect_in_ways(path.c_str(), std::span(ways).first(i % 16 == 0 ? ways.size() : 1));
      if (::pwrite(file, &bytes[i], 1, static_cast<off_t>(i)) != 1) ::_exit(3);
    }
  });
  EXPECT_EQ(status, 0);
}

}  // namespace
