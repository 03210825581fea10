#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// One reading of one object-manager partition, from its header on. The positions in a partition lead
/// anywhere, and any number of partitions may start at one place: while this lives, a field that makes the
/// partition more than twice as large as the file, or all readings of the run together more than eight times
/// (four where damage ends nothing), is inspect_error. So is, while tracing, a field beyond eight for each
/// byte of the file on disk.
class ObjectReadBudget {
 public:
  explicit ObjectReadBudget(InspectFile& file);
  ~ObjectReadBudget();
  ObjectReadBudget(const ObjectReadBudget&) = delete;
  ObjectReadBudget& operator=(const ObjectReadBudget&) = delete;

 private:
  InspectFile& file_;
  RecordReader::Count start_;
};

}  // namespace inspect
