#pragma once

#include <string>

#include "support/unfinished_output.h"

namespace support {

/// A file that is written under a temporary name beside the one that it will replace, so that whatever
/// happens before commit() leaves the old one as it was. The temporary one is removed when that does not come
/// about, by the end of the object or by a signal.
class PendingFile {
 public:
  /// Creates the temporary file, empty and for its owner alone; error() tells when that fails.
  explicit PendingFile(std::string name);
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  const std::string& temporary_name() const { return temporary_name_; }

  /// The system's number for what failed; 0 when nothing has.
  int error() const { return error_; }

  /// Gives the file its name and the permissions of the one it replaces, or those that any new file gets.
  /// False when that fails.
  bool commit();

 private:
  std::string name_;
  std::string temporary_name_;
  UnfinishedOutput unfinished_;
  int error_ = 0;
  bool is_there_ = false;
};

}  // namespace support
