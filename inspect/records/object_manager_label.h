#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"
#include "inspect/records/traced_readers.h"

namespace inspect {

/// What a compact label reads as when all that is known is that it names an object.
inline constexpr std::int32_t kSomeObject = 42;

/// A label field: a compact label in a compact partition (which the trace does not show), else an int.
inline std::int32_t read_om_label(bool trace, InspectFile& file, const PartitionEntry& partition,
                                  const char* label) {
  if (partition.compact) return read_compact_om_label(file);
  std::int32_t value = 0;
  read_ints(trace, file, 1, &value, "%s", label);
  return value;
}

}  // namespace inspect
