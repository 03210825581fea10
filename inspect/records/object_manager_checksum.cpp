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
bool is_sound(InspectFile& file, std::int64_t length) {
  const std::uint64_t remembered = file.reader.position();
  const std::uint64_t left = file.records.length - std::min(remembered, file.records.length);
  if (length < kTrailerSize || static_cast<std::uint64_t>(length) > left) return false;
  PieceReader pieces(file, RunKind::checksummed, static_cast<std::uint64_t>(length - kTrailerSize));
  const std::uint32_t computed = fold_rest(pieces, 1);
  const std::uint32_t total = read_checksum(file, "total_checksum");
  read_checksum(file, "checksum1");
  read_checksum(file, "checksum2");
  file.reader.move_to(remembered);
  return total == computed;
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
    if (!is_sound(file, length)) {
      report_problem(file, Rule::om_checksum, "**** Partition id %d has invalid check sum\n", entry.id);
    }
  }
  file.reader.move_to(remembered);
}

}  // namespace inspect
