#pragma once

#include <cstdint>
#include <memory>

#include "inspect/records/brepsolid_header_bits.h"
#include "inspect/records/partition_kinds.h"
#include "inspect/records/record_reader.h"
#include "inspect/records/shared_strings.h"

namespace inspect {

/// One partition of the part stream. Offsets and positions are in bytes from the start of the stream. A part
/// may have very many partitions: what is read of one while it is printed is kept elsewhere or given back.
struct PartitionEntry {
  std::uint32_t number = 0;  ///< its place in the file's list, from 0
  std::int32_t id = 0;
  std::int32_t type = kUnknownPartition;
  std::int32_t data = 0;     ///< the data word; also the tag field of modeller partitions
  std::uint64_t offset = 0;  ///< as listed: in older files that of the directory header
  std::uint64_t base = 0;    ///< where the data begin; object positions count from here
  bool data_zero = false;    ///< the "secondary flag": an empty directory
  bool bad = false;          ///< offset out of bounds or marker missing: to be skipped
  bool truncated = false;    ///< modeller data reach beyond the end of the stream
  bool done = false;         ///< its listing is complete

  // Object-manager layout, set when its header is read.
  bool wide_positions = false;
  Encoding encoding = Encoding::plain;
  std::uint8_t om_file_length_byte_size = 4;  ///< 4 or 12
  std::uint64_t object_table_offset = 0;
  SharedStrings shared_strings;

  /// Modeller partitions only: the header as decoded in the reading pass.
  std::unique_ptr<BrepsolidPartition> solid;
};

/// True for the partitions that hold Brepsolid data; the old type only when it is not an empty directory.
inline bool holds_modeller_data(const PartitionEntry& entry) {
  return is_in_set(entry.type, kModellerSet) || (is_in_set(entry.type, kOldModellerSet) && !entry.data_zero);
}

}  // namespace inspect
