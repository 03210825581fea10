#include "inspect/solid/checksum_trailer.h"

#include <array>
#include <set>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/traced_readers.h"
#include "support/byte_order.h"
#include "support/console.h"

namespace inspect {

namespace {

using ull = unsigned long long;

std::int32_t trailer_size(const DataBlock& block) {
  return static_cast<std::int32_t>(block.wide ? kWideTrailerSize : kNarrowTrailerSize);
}

bool is_padded(const DataBlock& block) { return block.stored_length % 2 != 0; }

/// Where the next partition of the file starts, whatever its place in the index; the end of the file behind
/// the last one.
std::uint64_t next_start(InspectFile& file, const PartitionEntry& entry) {
  std::set<std::uint64_t>& starts = file.partition_starts;
  for (std::size_t& known = file.known_starts; known < file.partitions.size(); ++known) {
    starts.insert(file.partitions[known].offset);
  }
  const auto next = starts.upper_bound(entry.offset);
  return next != starts.end() ? *next : file.file_length;
}

bool print_differences(const PartitionEntry& entry, const ChecksumTrailer& saved,
                       const DeflatedResult& found) {
  const bool size_differs = found.error == 0 && saved.expanded_size != found.produced;
  if (size_differs) {
    support::print("Compressed brepsolid partition %d had saved size %llu bytes but expanded to %llu bytes\n",
                   entry.id, static_cast<ull>(saved.expanded_size), static_cast<ull>(found.produced));
  }
  if (saved.stored_checksum != found.stored_checksum) {
    support::print(
        "Saved checksum for compressed brepsolid partition id %d is %llu does not match calculated checksum "
        "%ld \n",
        entry.id, static_cast<ull>(saved.stored_checksum), static_cast<long>(found.stored_checksum));
    return false;
  }
  if (found.error == 0 && saved.plain_checksum != found.plain_checksum) {
    support::print(
        "Saved checksum for uncompressed brepsolid partition id %d is %llu does not match calculated "
        "checksum "
        "%ld \n",
        entry.id, static_cast<ull>(saved.plain_checksum), static_cast<long>(found.plain_checksum));
    return false;
  }
  return !size_differs;
}

bool report_differences(InspectFile& file, const ChecksumTrailer& saved, const DeflatedResult& found) {
  const bool size_differs = found.error == 0 && saved.expanded_size != found.produced;
  const bool stored_differs = saved.stored_checksum != found.stored_checksum;
  const bool plain_differs = saved.plain_checksum != found.plain_checksum;
  if (size_differs) {
    report_problem(file,
                   "Compressed brepsolid partition had saved size %llu bytes but expanded to %llu bytes",
                   static_cast<ull>(saved.expanded_size), static_cast<ull>(found.produced));
  }
  if (stored_differs) {
    report_problem(
        file, "Saved checksum for compressed brepsolid partition %llu does not match calculated checksum %ld",
        static_cast<ull>(saved.stored_checksum), static_cast<long>(found.stored_checksum));
  }
  if (plain_differs) {
    report_problem(
        file,
        "Saved checksum for uncompressed brepsolid partition %llu does not match calculated checksum %ld",
        static_cast<ull>(saved.plain_checksum), static_cast<long>(found.plain_checksum));
  }
  return !size_differs && !stored_differs && !plain_differs;
}

}  // namespace

ChecksumTrailer decode_checksum_trailer(const unsigned char* bytes, bool wide) {
  if (wide) {
    return {support::load_big<std::uint64_t>(bytes), support::load_big<std::uint64_t>(bytes + 8),
            support::load_big<std::uint64_t>(bytes + 16)};
  }
  return {support::load_big<std::uint32_t>(bytes), support::load_big<std::uint32_t>(bytes + 4),
          support::load_big<std::uint32_t>(bytes + 8)};
}

ChecksumTrailer read_checksum_trailer(InspectFile& file, const DataBlock& block) {
  const bool trace = file.options.trace;
  std::array<unsigned char, kWideTrailerSize> bytes = {};
  read_bytes(trace, file, trailer_size(block), bytes.data(), "Compressed Brepsolid partition trailer");
  if (is_padded(block)) {
    unsigned char padding = 0;
    read_bytes(trace, file, 1, &padding, "Padding byte");
  }
  return decode_checksum_trailer(bytes.data(), block.wide);
}

bool is_trailer_missing(InspectFile& file, const PartitionEntry& entry, const DataBlock& block) {
  if (entry.type != kBrepsolidLatent) return false;
  const std::uint64_t limit = next_start(file, entry);
  const auto behind_data = static_cast<std::uint64_t>(trailer_size(block)) + (is_padded(block) ? 1 : 0);
  // The stored data have been read: their length is no longer a mere claim.
  return entry.offset + block.stored_length + behind_data >= limit;
}

bool compare_with_trailer(InspectFile& file, const PartitionEntry& entry, CopyMode mode,
                          const ChecksumTrailer& saved, const DeflatedResult& found) {
  return mode == CopyMode::extract ? report_differences(file, saved, found)
                                   : print_differences(entry, saved, found);
}

}  // namespace inspect
