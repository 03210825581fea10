#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// Sets of partition types, as masks with one bit per type.
inline constexpr std::uint32_t kModellerSet = 0xf7400;    ///< 10, 12, 13, 14, 16, 17, 18, 19
inline constexpr std::uint32_t kExtractAllSet = 0x77404;  ///< 2, 10, 12, 13, 14, 16, 17, 18

constexpr bool is_in_set(std::int32_t type, std::uint32_t set) {
  return type >= 0 && type <= kBrepsolidDelta && (set >> type & 1U) != 0;
}

/// True for the types of Brepsolid data, the old one included.
constexpr bool is_modeller_type(std::int32_t type) {
  return type == kOldBrepsolid || is_in_set(type, kModellerSet);
}

/// True for the partitions that hold Brepsolid data; the old type only when it is not an empty directory.
inline bool holds_modeller_data(const PartitionEntry& entry) {
  return is_in_set(entry.type, kModellerSet) || (entry.type == kOldBrepsolid && !entry.data_zero);
}

}  // namespace inspect
