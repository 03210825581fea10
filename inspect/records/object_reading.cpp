#include "inspect/records/object_reading.h"

#include <algorithm>
#include <limits>

#include "support/limits.h"

namespace inspect {

ObjectReading::ObjectReading(InspectFile& file)
    : file_(file), start_(file.field_bytes), trace_start_(file.traced_fields) {
  const std::uint64_t all = limits::kReadsOfAllBytes * file.bytes_there();
  const std::uint64_t left = all - std::min(all, file.object_bytes);
  file.field_limit = start_ + std::min(left, limits::kReadsInOnePartition * file.bytes_there());
  const std::uint64_t fields =
      limits::kTracedFieldsPerByte * std::min(file.stored_bytes(), file.bytes_there());
  file.traced_limit = trace_start_ + (fields - std::min(fields, file.object_fields));
}

ObjectReading::~ObjectReading() {
  file_.object_bytes += file_.field_bytes - start_;
  file_.object_fields += file_.traced_fields - trace_start_;
  file_.traced_limit = std::numeric_limits<std::uint64_t>::max();
  file_.field_limit = std::numeric_limits<std::uint64_t>::max();
}

}  // namespace inspect
