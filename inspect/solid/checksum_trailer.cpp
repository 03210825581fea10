#include "inspect/solid/checksum_trailer.h"

#include <array>
#include <set>

#include "inspect/records/inspect_errors.h"
#include "support/byte_order.h"

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
  for (std::size_t& known = file.known_starts; known < file.records.partitions.size(); ++known) {
    starts.insert(file.records.partitions[known].offset);
  }
  const auto next = starts.upper_bound(entry.offset);
  return next != starts.end() ? *next : file.records.length;
}

/// A value of the trailer and what the data have instead.
struct Difference {
  Rule rule;
  std::uint64_t number;  ///< of the value in the trailer
  const char* field;
  std::string_view what;
  std::uint64_t saved;
  std::uint64_t found;
};

/// As the mode demands: told by the check, or a problem.
support::Finding finding_of(const InspectFile& file, const DataBlockResult& result, CopyMode mode,
                            const Difference& difference) {
  const std::uint64_t width = result.wide ? sizeof(std::uint64_t) : sizeof(std::uint32_t);
  support::Finding finding;
  finding.rule = difference.rule;
  finding.manner = mode == CopyMode::extract ? support::Manner::problem : support::Manner::result;
  finding.place =
      file.reader.place(result.data_position + result.stored_size + difference.number * width, width);
  finding.place.partition = result.partition.id;
  finding.place.field = difference.field;
  finding.found.push_back({difference.what, difference.found});
  finding.expected.push_back({difference.what, difference.saved});
  return finding;
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
  std::array<unsigned char, kWideTrailerSize> bytes = {};
  file.reader.read(std::span(bytes).first(static_cast<std::size_t>(trailer_size(block))),
                   "Compressed Brepsolid partition trailer");
  if (is_padded(block)) file.reader.read<std::uint8_t>("Padding byte");
  return decode_checksum_trailer(bytes.data(), block.wide);
}

bool is_trailer_missing(InspectFile& file, const PartitionEntry& entry, const DataBlock& block) {
  if (entry.type != kBrepsolidLatent) return false;
  const std::uint64_t limit = next_start(file, entry);
  const auto behind_data = static_cast<std::uint64_t>(trailer_size(block)) + (is_padded(block) ? 1 : 0);
  // The stored data have been read: their length is no longer a mere claim.
  return entry.offset + block.stored_length + behind_data >= limit;
}

bool report_differences(const InspectFile& file, const DataBlockResult& result, CopyMode mode) {
  const bool stored_differs = result.stored_differs();
  // A check looks at the expanded data only where the stored bytes are what was saved.
  const bool looks_at_all = mode == CopyMode::extract || mode == CopyMode::examine;
  const bool expanded_differs =
      result.expanded_differs() && (looks_at_all || (!stored_differs && result.inflate_error == 0));
  const auto report = [&](const Difference& difference, const char* data) {
    report_finding(file, finding_of(file, result, mode, difference),
                   "Saved checksum for %s brepsolid partition %llu does not match calculated checksum %llu",
                   data, static_cast<ull>(difference.saved), static_cast<ull>(difference.found));
  };
  if (result.size_differs()) {
    const Difference size = {Rule::solid_size,          1,
                             "trailer.expanded_length", "expanded_length",
                             result.saved_size,         result.found_size};
    report_finding(file, finding_of(file, result, mode, size),
                   "Compressed brepsolid partition had saved size %llu bytes but expanded to %llu bytes",
                   static_cast<ull>(size.saved), static_cast<ull>(size.found));
  }
  if (stored_differs) {
    report({Rule::solid_adler32_stored, 2, "trailer.adler32_stored", "adler32", result.saved_stored_checksum,
            result.found_stored_checksum},
           "compressed");
  }
  if (expanded_differs) {
    report({Rule::solid_adler32_expanded, 0, "trailer.adler32_expanded", "adler32",
            result.saved_expanded_checksum, result.found_expanded_checksum},
           "uncompressed");
  }
  return !result.size_differs() && !stored_differs && !expanded_differs;
}

}  // namespace inspect
