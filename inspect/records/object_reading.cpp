#include "inspect/records/object_reading.h"

#include <algorithm>
#include <limits>

namespace inspect {

namespace {

// Sound partitions do not overlap, and are read once for the filing history and once for their listing.
constexpr std::uint64_t kMaxOverlap = 8;
constexpr std::uint64_t kMaxOverlapInside = 2;

}  // namespace

ObjectReading::ObjectReading(InspectFile& file) : file_(file), start_(file.field_bytes) {
  const std::uint64_t all = kMaxOverlap * file.file_length;
  const std::uint64_t left = all - std::min(all, file.object_bytes);
  file.field_limit = start_ + std::min(left, kMaxOverlapInside * file.file_length);
}

ObjectReading::~ObjectReading() {
  file_.object_bytes += file_.field_bytes - start_;
  file_.field_limit = std::numeric_limits<std::uint64_t>::max();
}

}  // namespace inspect
