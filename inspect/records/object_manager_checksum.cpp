#include "inspect/records/object_manager_checksum.h"

#include <algorithm>
#include <array>
#include <optional>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/piece_reader.h"
#include "support/byte_order.h"

namespace inspect {

namespace {

constexpr std::int32_t kChecksumMode = 4096;
constexpr std::int64_t kTrailerSize = 12;

std::int64_t read_length(InspectFile& file) {
  std::int32_t narrow = 0;
  file.reader.read(narrow, "Length of OM partition");
  if (narrow != -1) return narrow;
  std::int64_t wide = 0;
  file.reader.read(wide, "Length of OM partition");
  return wide;
}

bool carries_checksum(InspectFile& file) {
  std::array<std::uint8_t, 7> intro = {};
  file.reader.read(std::span(intro), "Intro to OM file ('O', 'M', machine info)");
  if (intro[0] != 'O' && intro[1] != 'M') return false;
  std::array<std::int32_t, 2> words = {};
  file.reader.read(std::span(words), "OM header (version no., filing mode)");
  return (words[1] & kChecksumMode) != 0;
}

std::uint32_t read_checksum(InspectFile& file, const FieldLabel& label) {
  std::array<unsigned char, 4> bytes = {};
  file.reader.read(std::span(bytes), label);
  return support::load_big<std::uint32_t>(bytes.data());
}

/// `length` of the partition's data at the stream's position. A length without room for the values, or beyond
/// the end of the stream, can not be right.
ObjectManagerChecksum measure(InspectFile& file, const PartitionEntry& entry, std::int64_t length) {
  ObjectManagerChecksum checksum = {entry.number, std::nullopt, 0};
  const std::uint64_t remembered = file.reader.position();
  const std::uint64_t left = file.records.length - std::min(remembered, file.records.length);
  if (length < kTrailerSize || static_cast<std::uint64_t>(length) > left) return checksum;
  PieceReader pieces(file, RunKind::checksummed, static_cast<std::uint64_t>(length - kTrailerSize));
  checksum.computed = fold_rest(pieces, 1);
  checksum.stored = read_checksum(file, "total_checksum");
  read_checksum(file, "checksum1");
  read_checksum(file, "checksum2");
  file.reader.move_to(remembered);
  return checksum;
}

void report_mismatch(const InspectFile& file, const PartitionEntry& entry, std::uint64_t data,
                     std::int64_t length, const ObjectManagerChecksum& checksum) {
  support::Finding finding;
  finding.rule = Rule::om_checksum;
  finding.place = file.reader.place(data, static_cast<std::uint64_t>(std::max<std::int64_t>(length, 0)));
  finding.place.partition = entry.id;
  finding.place.field = "object_manager_data";
  if (checksum.stored) {
    finding.found.push_back({"adler32", std::uint64_t{checksum.computed}});
    finding.expected.push_back({"adler32", std::uint64_t{*checksum.stored}});
  }
  report_finding(file, std::move(finding), "**** Partition id %d has invalid check sum\n", entry.id);
}

}  // namespace

void check_object_manager_checksum(InspectFile& file, const PartitionEntry& entry) {
  const std::uint64_t remembered = file.reader.position();
  file.reader.move_to(entry.base);
  const std::int64_t length = read_length(file);
  const std::uint64_t data = file.reader.position();
  if (carries_checksum(file)) {
    file.records.has_om_checksums = true;
    file.reader.move_to(data);
    const ObjectManagerChecksum checksum = measure(file, entry, length);
    file.records.om_checksums.push_back(checksum);
    if (!checksum.matches()) report_mismatch(file, entry, data, length, checksum);
  }
  file.reader.move_to(remembered);
}

}  // namespace inspect
