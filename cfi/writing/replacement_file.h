#pragma once

#include <memory>
#include <string>

#include "cfi/file_channel.h"
#include "support/pending_file.h"

namespace VRX::System::CFI {

/// A file that is written under a temporary name beside the one it will replace, so that whatever happens
/// before `commit` leaves the old one as it was; a signal removes the temporary one. All operations raise
/// 1020059 when the system refuses.
class ReplacementFile {
 public:
  /// Creates the temporary file in the folder of `name`. It is removed unless it was committed.
  explicit ReplacementFile(std::string name);

  /// The temporary file, open for reading and writing.
  FileChannel& channel() const { return *channel_; }

  /// Gives the file its name.
  void commit();

 private:
  support::PendingFile file_;
  std::unique_ptr<FileChannel> channel_;
};

}  // namespace VRX::System::CFI
