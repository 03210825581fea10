#include "inspect/records/object_reading.h"

#include <algorithm>
#include <limits>

#include "support/limits.h"

namespace inspect {

ObjectReading::ObjectReading(InspectFile& file) : file_(file), start_(file.field_bytes) {
  const std::uint64_t all = limits::kReadsOfAllBytes * file.file_length;
  const std::uint64_t left = all - std::min(all, file.object_bytes);
  file.field_limit = start_ + std::min(left, limits::kReadsInOnePartition * file.file_length);
}

ObjectReading::~ObjectReading() {
  file_.object_bytes += file_.field_bytes - start_;
  file_.field_limit = std::numeric_limits<std::uint64_t>::max();
}

}  // namespace inspect
