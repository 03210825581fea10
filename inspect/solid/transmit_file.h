#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "inspect/records/inspect_file.h"
#include "support/output_file.h"

namespace inspect {

/// A transmit file being written. A failed write is reported with the file's name and the system's reason,
/// and raises inspect_error "write failed"; what was written stays.
class TransmitFile {
 public:
  /// Creates or empties the file. Raises inspect_error "can not open output file %s" when that fails and when
  /// the file is a part.
  TransmitFile(InspectFile& file, std::string name);

  const std::string& name() const { return name_; }
  void write(const void* bytes, std::size_t count);
  void close();

  /// False when not all bytes could be written; nothing is told of it.
  bool try_write(const void* bytes, std::size_t count) { return output_.write(bytes, count); }

  /// Remembers what has been written so far, to come back to; false when the file does not allow that.
  bool set_mark();

  /// Takes back what was written behind the mark.
  void return_to_mark();

 private:
  [[noreturn]] void fail();

  InspectFile& file_;
  std::string name_;
  support::OutputFile output_;
  std::uint64_t mark_ = 0;
};

}  // namespace inspect
