#include "inspect/records/piece_reader.h"

#include <zlib.h>

#include <algorithm>

#include "inspect/records/inspect_errors.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::size_t kBulkSize = std::size_t{256} * 1024;

std::uint64_t bytes_left(const InspectFile& file) {
  const std::uint64_t position = file.reader.position();
  return file.bytes_there() - std::min(position, file.bytes_there());
}

FieldLabel label_of(RunKind kind, std::size_t size, std::uint64_t remaining) {
  if (kind == RunKind::checksummed) return "chunk";
  return FieldLabel("Brepsolid buffer of size {}, bytes remaining = {}", static_cast<std::int64_t>(size),
                    static_cast<std::int64_t>(remaining));
}

}  // namespace

bool may_read_run(const InspectFile& file, std::uint64_t length) {
  const std::uint64_t checked = file.budgets.checked_bytes + std::min(length, bytes_left(file));
  return checked / limits::kReadsOfAllBytes <= file.bytes_there();
}

PieceReader::PieceReader(InspectFile& file, RunKind kind, std::uint64_t length)
    : file_(file),
      kind_(kind),
      remaining_(length),
      capacity_(static_cast<std::size_t>(
          std::min<std::uint64_t>(length, file.reader.trace() != nullptr ? piece_size(kind) : kBulkSize))),
      buffer_(std::make_unique_for_overwrite<unsigned char[]>(capacity_)) {
  const bool may_read = may_read_run(file, length);
  file.budgets.checked_bytes += std::min(length, bytes_left(file));
  if (!may_read) {
    inspect_error(file.reader, Rule::partition_overlap,
                  "partitions overlap: together they are more than %d times as large as the file",
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
  file_.reader.read(std::span(buffer_.get(), size), label_of(kind_, size, remaining_));
  remaining_ -= size;
  return {buffer_.get(), size};
}

std::uint32_t fold_adler32(std::uint32_t checksum, std::span<const unsigned char> bytes) {
  return static_cast<std::uint32_t>(adler32(checksum, bytes.data(), static_cast<uInt>(bytes.size())));
}

std::uint32_t fold_rest(PieceReader& pieces, std::uint32_t checksum) {
  while (pieces.remaining() > 0) checksum = fold_adler32(checksum, pieces.next());
  return checksum;
}

}  // namespace inspect
