#pragma once

#include <memory>
#include <string>

#include "cfi/file_channel.h"
#include "cfi/writing/writer_lock.h"
#include "support/pending_file.h"

namespace VRX::System::CFI {

/// A file that is written under a temporary name beside the one it will replace, so that whatever happens
/// before `commit` leaves the old one as it was; a signal removes the temporary one. A name that is a
/// symbolic link stands for what it leads to. All operations raise 1020059 when the system refuses.
class ReplacementFile {
 public:
  /// Creates the temporary file in the folder of the file. It is removed unless it was committed. Raises
  /// 1020059 when the file may not be written, 1021080 when it is no regular one, and 1021254 when another
  /// writer has it open.
  explicit ReplacementFile(const std::string& name);

  /// The temporary file, open for reading and writing.
  FileChannel& channel() const { return *channel_; }

  /// Raises 1021254 unless the file that will be replaced is `old`: another writer may have replaced it
  /// between its opening and its locking.
  void require_replaced(const FileChannel& old) const;

  /// Gives the file its name.
  void commit();

 private:
  std::string name_;
  WriterLock lock_;
  support::PendingFile file_;
  std::unique_ptr<FileChannel> channel_;
};

}  // namespace VRX::System::CFI
