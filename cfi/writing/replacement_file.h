#pragma once

#include <memory>
#include <string>

#include "cfi/file_channel.h"
#include "support/unfinished_output.h"

namespace VRX::System::CFI {

/// A file that is written under a temporary name beside the one it will replace, so that whatever happens
/// before `commit` leaves the old one as it was; a signal removes the temporary one. All operations raise
/// 1020059 when the system refuses.
class ReplacementFile {
 public:
  /// Creates the temporary file in the folder of `name`.
  explicit ReplacementFile(std::string name);

  /// Removes the temporary file unless it was committed.
  ~ReplacementFile();
  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;

  /// The temporary file, open for reading and writing.
  FileChannel& channel() const { return *channel_; }

  /// Gives the file its name.
  void commit();

 private:
  struct Reserved {};
  ReplacementFile(std::string name, Reserved);

  support::UnfinishedOutput unfinished_;
  std::string name_;
  std::string temporary_name_;
  std::unique_ptr<FileChannel> channel_;
  bool is_committed_ = false;
};

}  // namespace VRX::System::CFI
