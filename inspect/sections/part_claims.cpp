#include "inspect/sections/part_claims.h"

#include <algorithm>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_header.h"

namespace inspect {

namespace {

constexpr std::uint64_t kCountSize = 2;
constexpr std::uint64_t kMarkerSize = 4;
constexpr std::uint64_t kObjectChecksumSize = 12;
constexpr std::uint64_t kTotalChecksumSize = 4;

/// The intro, version and filing mode: where a changed byte could make the checksum look absent.
constexpr std::uint64_t kObjectHeadSize = 15;
constexpr std::int16_t kFirstTerminated = 15;
constexpr std::uint8_t kTerminator = 0xFF;

using Claims = std::function<void(const ByteClaim&)>;

/// Bytes behind deflated data that were not checked.
std::uint64_t unchecked_trailer_size(const PartitionEntry& partition) {
  const BrepsolidHeaderBits& bits = partition.solid->bits;
  if (!bits.compressed || partition.type == kBrepsolidLatent) return 0;
  return (bits.wide_sizes ? 24 : 12) + bits.rest_size % 2;
}

class PartStreamClaims {
 public:
  PartStreamClaims(const InspectFile& file, const PartPlaces& places, const Claims& claim)
      : file_(file), places_(places), claim_(claim) {}

  void run() {
    claim_header();
    for (const PartitionEntry& partition : file_.records.partitions) claim_partition(partition);
    claim_terminator();
  }

 private:
  void claim_header();
  void claim_partition(const PartitionEntry& partition);
  void claim_objects(const PartitionEntry& partition, const ObjectDataPlace& place);
  void claim_solid(const PartitionEntry& partition);
  void claim_unchecked_data(const PartitionEntry& partition);
  void claim_empty_directory(const PartitionEntry& partition);
  void claim_block(const PartitionEntry& partition, const CheckedBlock& block, bool second);
  void claim_terminator();

  void part(std::uint64_t offset, std::uint64_t length, const char* field) {
    take(offset, length, {ByteOwner::Kind::part, Protection::decoded, 0, 0, field});
  }
  void of(const PartitionEntry& partition, std::uint64_t offset, std::uint64_t length, const char* field,
          Protection protection = Protection::decoded) {
    take(offset, length, {ByteOwner::Kind::partition, protection, partition.id, 0, field});
  }
  void take(std::uint64_t offset, std::uint64_t length, const ByteOwner& owner) {
    const std::uint64_t size = file_.records.length;
    if (offset >= size || length == 0) return;
    length = std::min(length, size - offset);
    end_ = std::max(end_, offset + length);
    claim_({offset, length, offset, owner});
  }

  const InspectFile& file_;
  const PartPlaces& places_;
  const Claims& claim_;
  std::uint64_t end_ = 0;  ///< of the bytes claimed
};

void PartStreamClaims::claim_header() {
  const PartRecords& part_records = file_.records;
  const std::uint64_t words = part_records.header.word_count;
  if (words == 0) return;
  part(0, kCountSize, "header_word_count");
  part(kCountSize, 2 * words, "header");
  if (!part_records.entity_chain_words.empty()) {
    part(kCountSize + 2 * words, kCountSize + 2 * part_records.entity_chain_words.size(),
         "entity_chain_header");
  }
  part(part_records.index_offset, part_records.index_length, "partition_index");
}

void PartStreamClaims::claim_partition(const PartitionEntry& partition) {
  if (file_.records.has_markers) {
    if (partition.offset >= kMarkerSize) of(partition, partition.offset - kMarkerSize, kMarkerSize, "marker");
  } else if (partition.base > partition.offset) {
    of(partition, partition.offset, partition.base - partition.offset, "directory_header");
  }
  if (partition.solid != nullptr) return claim_solid(partition);
  if (const ObjectDataPlace* place = places_.find_object_data(partition.number)) {
    claim_objects(partition, *place);
  } else if (file_.records.has_markers && partition.data_zero && !partition.bad) {
    claim_empty_directory(partition);
  }
}

void PartStreamClaims::claim_objects(const PartitionEntry& partition, const ObjectDataPlace& place) {
  constexpr const char* kData = "object_manager_data";
  of(partition, place.start - place.length_size, place.length_size, "length");
  const auto& checksums = file_.records.om_checksums;
  const auto checksum =
      std::ranges::lower_bound(checksums, partition.number, {}, &ObjectManagerChecksum::partition_number);
  const bool has_checksum = checksum != checksums.end() && checksum->partition_number == partition.number &&
                            checksum->stored && place.length >= kObjectChecksumSize + kObjectHeadSize;
  if (!has_checksum) return of(partition, place.start, place.length, kData);
  const Protection protection = checksum->matches() ? Protection::verified : Protection::failed;
  const std::uint64_t trailer = place.end() - kObjectChecksumSize;
  of(partition, place.start, kObjectHeadSize, "object_manager_header");
  of(partition, place.start + kObjectHeadSize, trailer - place.start - kObjectHeadSize, kData, protection);
  of(partition, trailer, kTotalChecksumSize, "total_checksum", protection);
  of(partition, trailer + kTotalChecksumSize, kObjectChecksumSize - kTotalChecksumSize, "further_checksums");
}

void PartStreamClaims::claim_solid(const PartitionEntry& partition) {
  const BrepsolidPartition& solid = *partition.solid;
  const std::uint64_t sizes_end = solid.data_position - solid.bits.header_size;
  of(partition, partition.base, sizes_end - partition.base, "sizes");
  of(partition, sizes_end, solid.bits.header_size, "header_text");
  const auto blocks = places_.blocks_of(partition.number);
  if (blocks.empty()) return claim_unchecked_data(partition);
  claim_block(partition, blocks.front(), false);
  if (blocks.size() > 1) claim_block(partition, blocks.back(), true);
}

/// Plain data, those of a reference, which hold no body, and what is cut. Latent data lack the trailer.
void PartStreamClaims::claim_unchecked_data(const PartitionEntry& partition) {
  const BrepsolidPartition& solid = *partition.solid;
  of(partition, solid.data_position, solid.bits.rest_size, "data");
  const std::uint64_t trailer = solid.data_position + solid.bits.rest_size;
  of(partition, trailer, unchecked_trailer_size(partition), "trailer");
  if (!solid.bits.compressed) of(partition, trailer, solid.bits.second_size, "second_data");
}

/// Nothing in it is read: it has all bytes up to what comes next.
void PartStreamClaims::claim_empty_directory(const PartitionEntry& partition) {
  std::uint64_t end = file_.records.length - 1;
  for (const PartitionEntry& other : file_.records.partitions) {
    if (other.offset > partition.offset) end = std::min(end, other.offset - kMarkerSize);
  }
  if (end > partition.base)
    of(partition, partition.base, end - partition.base, "contents", Protection::opaque);
}

void PartStreamClaims::claim_block(const PartitionEntry& partition, const CheckedBlock& block, bool second) {
  const Protection protection = block.is_sound() ? Protection::verified : Protection::failed;
  const std::uint64_t trailer = block.data_position + block.stored_size;
  of(partition, block.data_position, block.stored_size, second ? "second_data" : "data", protection);
  of(partition, trailer, block.trailer_size(), second ? "second_trailer" : "trailer", protection);
  of(partition, trailer + block.trailer_size(), block.padding_size(), second ? "second_padding" : "padding");
}

void PartStreamClaims::claim_terminator() {
  const PartRecords& records = file_.records;
  if (records.header.version < kFirstTerminated || records.length == 0 || end_ >= records.length) return;
  if (file_.bytes_there() < records.length || file_.stream == nullptr) return;
  std::uint8_t last = 0;
  file_.stream->set_position(records.length - 1);
  if (file_.stream->read(&last, 1) == 1 && last == kTerminator)
    part(records.length - 1, 1, "terminating_byte");
}

std::uint64_t blocks_end(const PartitionEntry& partition, std::span<const CheckedBlock> blocks) {
  const BrepsolidPartition& solid = *partition.solid;
  std::uint64_t end = solid.data_position + solid.bits.rest_size;
  if (blocks.empty()) end += unchecked_trailer_size(partition);
  if (!solid.bits.compressed) end += solid.bits.second_size;
  for (const CheckedBlock& block : blocks) {
    end =
        std::max(end, block.data_position + block.stored_size + block.trailer_size() + block.padding_size());
  }
  return end;
}

}  // namespace

const ObjectDataPlace* PartPlaces::find_object_data(std::uint32_t partition_number) const {
  const auto place =
      std::ranges::lower_bound(object_data, partition_number, {}, &ObjectDataPlace::partition_number);
  return place != object_data.end() && place->partition_number == partition_number ? &*place : nullptr;
}

void PartPlaces::set_object_data(std::vector<ObjectDataPlace> places) {
  object_data = std::move(places);
  data_starts.reserve(object_data.size());
  for (const ObjectDataPlace& place : object_data) {
    data_starts.emplace_back(place.start, place.partition_number);
  }
  std::ranges::sort(data_starts);
}

std::uint32_t PartPlaces::first_with_data_of(std::uint32_t partition_number) const {
  const ObjectDataPlace* own = find_object_data(partition_number);
  if (own == nullptr) return partition_number;
  return std::ranges::lower_bound(data_starts, std::pair(own->start, std::uint32_t{0}))->second;
}

std::span<const CheckedBlock> PartPlaces::blocks_of(std::uint32_t partition_number) const {
  const auto first = std::ranges::lower_bound(blocks, partition_number, {}, &CheckedBlock::partition_number);
  const auto last = std::ranges::upper_bound(blocks, partition_number, {}, &CheckedBlock::partition_number);
  return {first, last};
}

std::vector<ObjectDataPlace> find_object_data(InspectFile& file) {
  const SilentReading silent(file.reader);
  std::vector<ObjectDataPlace> places;
  for (PartitionEntry& partition : file.records.partitions) {
    if (is_modeller_type(partition.type) || partition.bad) continue;
    try {
      if (!begins_with_om_intro(file, partition)) continue;
      ObjectManagerPartition om;
      read_om_length(file, partition, om);
      places.push_back({partition.number, partition.om_file_length_byte_size, om.start, om.length});
    } catch (const support::ErrorEscape&) {
      continue;
    }
  }
  return places;
}

std::uint64_t partition_length(const PartitionEntry& partition, const PartPlaces& places) {
  if (partition.solid != nullptr) {
    return blocks_end(partition, places.blocks_of(partition.number)) - partition.offset;
  }
  const ObjectDataPlace* place = places.find_object_data(partition.number);
  return (place != nullptr ? place->end() : partition.base) - partition.offset;
}

void claim_part_stream(const InspectFile& file, const PartPlaces& places, const Claims& claim) {
  PartStreamClaims(file, places, claim).run();
}

}  // namespace inspect
