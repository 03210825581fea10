#include "inspect/solid/object_manager_checksum.h"

#include <algorithm>
#include <array>
#include <optional>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/traced_readers.h"
#include "inspect/solid/deflated_copy.h"
#include "inspect/solid/piece_reader.h"
#include "support/byte_order.h"

namespace inspect {

namespace {

constexpr std::int32_t kChecksumMode = 4096;
constexpr std::int64_t kTrailerSize = 12;

std::int64_t read_length(InspectFile& file, bool trace) {
  std::int32_t narrow = 0;
  read_ints(trace, file, 1, &narrow, "Length of OM partition");
  if (narrow != -1) return narrow;
  std::int64_t wide = 0;
  read_int64s(trace, file, 1, &wide, "Length of OM partition");
  return wide;
}

bool carries_checksum(InspectFile& file, bool trace) {
  std::array<std::uint8_t, 7> intro = {};
  read_bytes(trace, file, intro.size(), intro.data(), "Intro to OM file ('O', 'M', machine info)");
  if (intro[0] != 'O' && intro[1] != 'M') return false;
  std::array<std::int32_t, 2> words = {};
  read_ints(trace, file, words.size(), words.data(), "OM header (version no., filing mode)");
  return (words[1] & kChecksumMode) != 0;
}

std::uint32_t read_checksum(InspectFile& file, bool trace, const char* label) {
  std::array<unsigned char, 4> bytes = {};
  read_bytes(trace, file, bytes.size(), bytes.data(), "%s", label);
  return support::load_big<std::uint32_t>(bytes.data());
}

/// `length` of the partition's data at the stream's position. A length without room for the values, or beyond
/// the end of the stream, can not be right.
bool is_sound(InspectFile& file, std::int64_t length, bool trace) {
  const std::uint64_t remembered = current_position(file);
  const std::uint64_t left = file.file_length - std::min(remembered, file.file_length);
  if (length < kTrailerSize || static_cast<std::uint64_t>(length) > left) return false;
  PieceReader pieces(file, RunKind::checksummed, static_cast<std::uint64_t>(length - kTrailerSize));
  const std::uint32_t computed = fold_rest(pieces, 1);
  const std::uint32_t total = read_checksum(file, trace, "total_checksum");
  read_checksum(file, trace, "checksum1");
  read_checksum(file, trace, "checksum2");
  move_to(trace, file, remembered);
  return total == computed;
}

}  // namespace

void check_object_manager_checksum(InspectFile& file, const PartitionEntry& entry, bool trace) {
  const std::uint64_t remembered = current_position(file);
  move_to(trace, file, entry.base);
  const std::int64_t length = read_length(file, trace);
  const std::uint64_t data = current_position(file);
  if (carries_checksum(file, trace)) {
    file.has_om_checksums = true;
    move_to(trace, file, data);
    if (!is_sound(file, length, trace)) {
      report_problem(file, "**** Partition id %d has invalid check sum\n", entry.id);
    }
  }
  move_to(trace, file, remembered);
}

}  // namespace inspect
