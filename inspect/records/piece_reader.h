#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// What a run of partition bytes is; it decides the size of the pieces and their trace label.
enum class RunKind : std::uint8_t {
  deflated,     ///< 8192 bytes, "Brepsolid buffer of size {}, bytes remaining = {}"
  plain,        ///< 1024 bytes, the same
  checksummed,  ///< 8192 bytes, "chunk"
};

constexpr std::size_t piece_size(RunKind kind) { return kind == RunKind::plain ? 1024 : 8192; }

/// False when the file's partitions must overlap many times over to hold another run of this length: each of
/// very many index entries could else name the same bytes.
bool may_read_run(const InspectFile& file, std::uint64_t length);

/// Reads a run of partition bytes from the stream's position in pieces. Under trace each piece is a read of
/// its own; else many are read at once, which nobody can tell: a run that reaches beyond the end of the
/// stream still yields its whole pieces before it ends in inspect_error "unexpected end of file".
class PieceReader {
 public:
  /// Raises inspect_error when the run may not be read.
  PieceReader(InspectFile& file, RunKind kind, std::uint64_t length);

  std::uint64_t remaining() const { return remaining_; }

  /// The next bytes, valid until the next call; empty at the end of the run.
  std::span<const unsigned char> next();

 private:
  std::size_t next_size() const;

  InspectFile& file_;
  RunKind kind_;
  std::uint64_t remaining_;
  std::size_t capacity_;
  std::unique_ptr<unsigned char[]> buffer_;
};

/// Adds bytes to an Adler-32 checksum; that of none is 1.
std::uint32_t fold_adler32(std::uint32_t checksum, std::span<const unsigned char> bytes);

/// Adds all that is left of a run.
std::uint32_t fold_rest(PieceReader& pieces, std::uint32_t checksum);

}  // namespace inspect
