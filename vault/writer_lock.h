#pragma once

#include <string>

#include "support/descriptor.h"

namespace vault {

/// Keeps the catalogue for one writer over all its transactions. The lock lies on a byte of the file far
/// beyond any that SQLite uses, belongs to this open file alone, and ends with the process whatever ends it.
class WriterLock {
 public:
  /// Creates the file when there is none; waits some seconds for another writer. Raises 641002 when the file
  /// cannot be opened, and when the other writer stays.
  explicit WriterLock(const std::string& file_name);

  /// Raises 641002 when the name leads to this file no longer: what is written would be lost.
  void check_name() const;

 private:
  std::string file_name_;
  support::Descriptor file_;
};

}  // namespace vault
