#include "inspect/solid/header_lender.h"

#include <algorithm>
#include <array>

#include "inspect/records/partition_index.h"
#include "inspect/solid/brepsolid_header.h"

namespace inspect {

namespace {

enum class Lending : std::uint8_t { no, yes, unknown };

/// Looks at a partition that the reading pass has not come to: its marker and the word behind it.
bool has_text_ahead(InspectFile& file, const PartitionEntry& entry) {
  std::array<std::uint8_t, kPartitionMarker.size()> marker = {};
  std::uint32_t word = 0;
  if (entry.offset < marker.size()) return false;
  const std::uint64_t remembered = file.stream->position();
  file.stream->set_position(entry.offset - marker.size());
  const bool read = file.stream->read(marker.data(), marker.size()) == marker.size() &&
                    file.stream->read(&word, sizeof word) == sizeof word;
  file.stream->set_position(remembered);
  file.reader.convert(std::span(&word, 1));
  return read && marker == kPartitionMarker && header_text_size(entry.type, word) > 0;
}

Lending lending_of(InspectFile& file, const PartitionEntry& entry) {
  // A directory whose own header has not been read has no type yet.
  if (entry.type == kUnknownPartition) return Lending::unknown;
  if (entry.data_zero || entry.bad || !is_in_set(entry.type, kModellerSet)) return Lending::no;
  const bool has_text = entry.solid ? entry.solid->header_saved_here : has_text_ahead(file, entry);
  return has_text ? Lending::yes : Lending::no;
}

}  // namespace

HeaderLender find_header_lender(InspectFile& file) {
  std::size_t& next = file.lender_search_start;
  for (; next < file.records.partitions.size(); ++next) {
    const PartitionEntry& entry = file.records.partitions[next];
    switch (lending_of(file, entry)) {
      case Lending::yes:
        return {true, &entry};
      case Lending::unknown:
        return {false, nullptr};
      case Lending::no:
        break;
    }
  }
  return {true, nullptr};
}

}  // namespace inspect
