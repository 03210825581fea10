#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// What a compact label reads as when all that is known is that it names an object.
inline constexpr std::int32_t kSomeObject = 42;

/// A label field: a compact label in a compact partition (which the trace does not show), else an int.
inline std::int32_t read_om_label(InspectFile& file, const PartitionEntry& partition,
                                  const FieldLabel& label) {
  if (partition.encoding == Encoding::compact) return file.reader.read_compact_om_label();
  return file.reader.read<std::int32_t>(label);
}

}  // namespace inspect
