#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "inspect/file_findings.h"
#include "inspect/reading_pass.h"
#include "inspect/records/inspect_file.h"
#include "inspect/report/text_report.h"
#include "inspect/report/text_trace.h"
#include "tests/support/captured.h"

namespace test_support {

/// A part stream in memory with the run of a file around it: what is written is kept, escapes are reported as
/// the driver does.
class PartSession {
 public:
  struct Options {
    std::string name = "folder/block.prt";
    bool trace = false;
  };

  explicit PartSession(std::string bytes) : PartSession(std::move(bytes), Options{}) {}
  PartSession(std::string bytes, Options options);

  /// Header and index, and the start of each partition.
  PartSession& read_list();

  /// The whole reading pass.
  PartSession& read(inspect::PassChecks checks = inspect::PassChecks::none);

  /// Runs an action on the file and keeps what it wrote; false when an escape ended it.
  bool run(const std::function<void(inspect::InspectFile&)>& action);

  inspect::InspectFile& file() { return file_; }
  inspect::PartitionEntry& entry(std::size_t number) { return file_.records.partitions.at(number); }
  inspect::TextReport& report() { return report_; }
  const support::Verdict& verdict() const { return findings_.verdict(); }
  const Output& output() const { return output_; }

 private:
  std::string bytes_;
  support::Console console_;
  inspect::TextReport report_;
  inspect::FileFindings findings_{report_};
  inspect::TextTrace trace_{console_};
  inspect::InspectFile file_;
  Output output_;
};

/// A new folder that is the current one while this lives, and is removed with what is in it.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

 private:
  std::string before_;
  std::string path_;
};

}  // namespace test_support
