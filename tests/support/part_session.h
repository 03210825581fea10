#pragma once

#include <functional>
#include <memory>
#include <string>

#include "inspect/records/inspect_file.h"
#include "inspect/records/inspect_options.h"
#include "tests/support/captured.h"

namespace test_support {

/// A part stream in memory with the run of a file around it: what is written is kept, content errors are
/// reported as the driver does.
class PartSession {
 public:
  explicit PartSession(std::string bytes, inspect::InspectOptions options = {},
                       std::string name = "folder/block.prt");

  /// The reading pass; a content error ends it, as it ends a file's run.
  PartSession& read();

  /// Runs an action on the file and keeps what it wrote; false when a content error ended it.
  bool run(const std::function<void(inspect::InspectFile&)>& action);

  inspect::InspectFile& file() { return *file_; }
  inspect::PartitionEntry& entry(std::size_t number) { return file_->partitions.at(number); }
  const Output& output() const { return output_; }

 private:
  std::string bytes_;
  inspect::InspectOptions options_;
  std::unique_ptr<inspect::InspectFile> file_;
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
