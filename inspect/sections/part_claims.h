#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "inspect/records/inspect_file.h"
#include "inspect/sections/byte_map.h"

namespace inspect {

/// One data block of a modeller partition as it was checked. Offsets are in bytes in the part stream.
struct CheckedBlock {
  std::uint32_t partition_number = 0;
  bool wide = false;  ///< a trailer of 24 bytes, else of 12
  int inflate_error = 0;
  std::uint64_t data_position = 0;
  std::uint64_t stored_size = 0;
  std::uint64_t saved_size = 0;
  std::uint64_t found_size = 0;
  std::uint64_t saved_stored_checksum = 0;
  std::uint64_t saved_expanded_checksum = 0;
  std::uint32_t found_stored_checksum = 0;
  std::uint32_t found_expanded_checksum = 0;

  std::uint64_t trailer_size() const { return wide ? 24 : 12; }
  std::uint64_t padding_size() const { return stored_size % 2; }
  bool is_sound() const {
    return inflate_error == 0 && saved_size == found_size && saved_stored_checksum == found_stored_checksum &&
           saved_expanded_checksum == found_expanded_checksum;
  }
};

/// Where the data of an object-manager partition lie in the part stream.
struct ObjectDataPlace {
  std::uint32_t partition_number = 0;
  std::uint8_t length_size = 4;  ///< bytes of the length field: 4 or 12
  std::uint64_t start = 0;       ///< first byte behind it
  std::uint64_t length = 0;      ///< as stored: the bytes behind it, a checksum included

  std::uint64_t end() const { return start + length; }
};

/// What is known of the records of a part when their places are asked for.
struct PartPlaces {
  std::vector<CheckedBlock> blocks;          ///< by partition number
  std::vector<ObjectDataPlace> object_data;  ///< by partition number
  std::vector<std::pair<std::uint64_t, std::uint32_t>>
      data_starts;  ///< of the same: place and number, sorted

  void set_object_data(std::vector<ObjectDataPlace> places);

  const ObjectDataPlace* find_object_data(std::uint32_t partition_number) const;

  /// The number of the first partition whose object-manager data begin where those of this one do: its own,
  /// unless entries of a damaged index lead to one place.
  std::uint32_t first_with_data_of(std::uint32_t partition_number) const;

  /// The checked blocks of one partition: none, one or two.
  std::span<const CheckedBlock> blocks_of(std::uint32_t partition_number) const;
};

/// Where the object-manager data of all partitions lie: those that hold some, or look as if they did. What
/// cannot be read is left out, in silence: who reads the data hears of it.
std::vector<ObjectDataPlace> find_object_data(InspectFile& file);

/// Bytes of a partition from its offset in the part stream to the end of its data, as far as its layout is
/// known.
std::uint64_t partition_length(const PartitionEntry& partition, const PartPlaces& places);

/// Hands over who owns which bytes of the part stream; `offset` and `stream_offset` of a claim both count
/// from its start. Nothing is handed over for what no record leads to.
void claim_part_stream(const InspectFile& file, const PartPlaces& places,
                       const std::function<void(const ByteClaim&)>& claim);

}  // namespace inspect
