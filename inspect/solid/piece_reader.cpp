#include "inspect/solid/piece_reader.h"

#include <algorithm>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/traced_readers.h"
#include "support/limits.h"
#include "support/text_format.h"

namespace inspect {

namespace {

constexpr std::size_t kBulkSize = std::size_t{256} * 1024;

std::uint64_t bytes_left(const InspectFile& file) {
  const std::uint64_t position = current_position(file);
  return file.bytes_there() - std::min(position, file.bytes_there());
}

std::string label_of(RunKind kind, std::size_t size, std::uint64_t remaining) {
  const auto left = static_cast<unsigned long long>(remaining);
  switch (kind) {
    case RunKind::deflated:
      return support::format_text("Brepsolid buffer of size %d, bytes remaining = %llu",
                                  static_cast<int>(size), left);
    case RunKind::plain:
      return support::format_text("Brepsolid buffer of size %u, bytes remaining = %llu",
                                  static_cast<unsigned>(size), left);
    case RunKind::checksummed:
      return "chunk";
  }
  return {};
}

}  // namespace

bool may_read_run(const InspectFile& file, std::uint64_t length) {
  const std::uint64_t checked = file.checked_bytes + std::min(length, bytes_left(file));
  return checked / limits::kReadsOfAllBytes <= file.bytes_there();
}

PieceReader::PieceReader(InspectFile& file, RunKind kind, std::uint64_t length)
    : file_(file),
      kind_(kind),
      remaining_(length),
      capacity_(static_cast<std::size_t>(
          std::min<std::uint64_t>(length, file.options.trace ? piece_size(kind) : kBulkSize))),
      buffer_(std::make_unique_for_overwrite<unsigned char[]>(capacity_)) {
  const bool may_read = may_read_run(file, length);
  file.checked_bytes += std::min(length, bytes_left(file));
  if (!may_read) {
    inspect_error(file, "partitions overlap: together they are more than %d times as large as the file",
                  static_cast<int>(limits::kReadsOfAllBytes));
  }
}

std::size_t PieceReader::next_size() const {
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, capacity_));
  const std::uint64_t left = bytes_left(file_);
  if (wanted <= left) return wanted;
  const std::size_t piece = piece_size(kind_);
  const std::size_t whole = static_cast<std::size_t>(left) / piece * piece;
  return whole > 0 ? whole : std::min(wanted, piece);
}

std::span<const unsigned char> PieceReader::next() {
  if (remaining_ == 0) return {};
  const std::size_t size = next_size();
  const bool trace = file_.options.trace;
  const std::string label = trace ? label_of(kind_, size, remaining_) : std::string();
  read_bytes(trace, file_, static_cast<std::int32_t>(size), buffer_.get(), "%s", label.c_str());
  remaining_ -= size;
  return {buffer_.get(), size};
}

}  // namespace inspect
