#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// One reading of one object-manager partition, from its header on. The positions in a partition lead
/// anywhere, and any number of partitions may start at one place: while this lives, a field that makes the
/// partition more than twice as large as the file, or all readings of the run together more than eight times,
/// is inspect_error. So is, while tracing, a field beyond eight for each byte of the file on disk.
class ObjectReading {
 public:
  explicit ObjectReading(InspectFile& file);
  ~ObjectReading();
  ObjectReading(const ObjectReading&) = delete;
  ObjectReading& operator=(const ObjectReading&) = delete;

 private:
  InspectFile& file_;
  std::uint64_t start_;
  std::uint64_t trace_start_;
};

}  // namespace inspect
