#pragma once

#include <bit>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "inspect/records/part_header.h"
#include "inspect/records/partition_entry.h"

namespace inspect {

/// The units that a part can have: 1 metric, 2 inches, 4 meters, 5 micrometers.
constexpr bool is_part_units(std::int32_t units) {
  return units == 1 || units == 2 || units == 4 || units == 5;
}

/// A position from two header words: a block of 512 bytes and a byte in it below version 15, else one number.
constexpr std::uint32_t combine_position(std::int16_t version, std::uint16_t first, std::uint16_t second) {
  return version < 15 ? std::uint32_t{first} * 512 + second : std::uint32_t{first} << 16U | second;
}

/// The checksum of one object-manager partition: Adler-32 of the bytes behind its length field.
struct ObjectManagerChecksum {
  std::uint32_t partition_number = 0;
  std::optional<std::uint32_t> stored;  ///< none when the partition's length has no room for it
  std::uint32_t computed = 0;

  bool matches() const { return stored == computed; }
};

/// What the reading pass learns of one part: its header, its partitions, and what follows from them.
struct PartRecords {
  static constexpr std::int32_t kVersionNotRead = -939;

  std::uint64_t length = 0;       ///< bytes of the part stream, as listed
  bool other_byte_order = false;  ///< written on a machine of the other byte order
  PartHeader header;
  std::int32_t version = kVersionNotRead;        ///< V once the header is read
  bool has_markers = false;                      ///< 4-byte markers before partitions, and an index
  std::vector<std::int16_t> entity_chain_words;  ///< V below 15: the entity chain header
  std::uint64_t index_offset = 0;                ///< in the part stream, behind the header
  std::uint64_t index_length = 0;                ///< as far as it was read; 0 in files without an index
  std::optional<std::int32_t> next_partition_id;
  std::deque<PartitionEntry> partitions;  ///< index order; entries never move
  std::int32_t empty_directories = 0;     ///< partitions whose data-zero flag is set
  std::optional<std::int32_t> pattern_mode;
  std::int32_t units = 0;         ///< of the header, else of the older record manager; 0 not recorded
  bool has_om_checksums = false;  ///< some object-manager partition carries a checksum
  std::vector<ObjectManagerChecksum> om_checksums;  ///< of those that were checked, by partition number
  std::string kernel_version;  ///< of the last modeller partition; empty without one, or "Unknown"

  bool is_big_endian() const { return other_byte_order != (std::endian::native == std::endian::big); }
};

}  // namespace inspect
