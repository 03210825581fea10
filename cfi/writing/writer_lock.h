#pragma once

#include <string>

#include "support/descriptor.h"
#include "support/unfinished_output.h"

namespace VRX::System::CFI {

/// Keeps all other writers away from a file for as long as it lives, in this process and in others. A file
/// that does not exist yet has nothing to be locked by itself, and one that exists is replaced in the end: so
/// the lock is on a file of its own beside it, "NAME.lock", which goes with it. One that a crash has left
/// behind keeps nobody away.
class WriterLock {
 public:
  /// `name` is free of links. Raises 1021254 when another writer has the file, 1020059 when the lock cannot
  /// be made.
  explicit WriterLock(const std::string& name);
  ~WriterLock();
  WriterLock(const WriterLock&) = delete;
  WriterLock& operator=(const WriterLock&) = delete;

 private:
  bool take();

  std::string lock_name_;
  support::Descriptor file_;
  support::UnfinishedOutput unfinished_;
};

}  // namespace VRX::System::CFI
