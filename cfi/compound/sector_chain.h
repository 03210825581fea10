#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cfi/compound/sector_allocation_table.h"

namespace VRX::System::CFI {

/// A chain of sectors, which is followed once, on construction. It is kept as runs of neighbouring sectors,
/// or, when it lies in very many runs, as marks at equal distances from which a place is reached in a few
/// links.
class SectorChain {
 public:
  /// Follows the chain and keeps its first `wanted` sectors. It ends early where a link is no sector, or
  /// one beyond the end of the file; where it runs in a circle nothing is read from it that can be trusted.
  SectorChain(SectorAllocationTable& table, std::uint32_t first, std::uint64_t wanted);

  /// Raises 1021266, naming the chain as `what`, when it runs in a circle.
  void require_no_circle(const char* what) const;

  std::uint64_t sector_count() const { return sector_count_; }

  /// Bytes that the chain has room for; the file may end inside its last sector.
  std::uint64_t capacity() const { return sector_count_ << table_.header().sector_shift; }

  /// The chain ended early because it left the file.
  bool leaves_file() const { return leaves_file_; }

  /// Sector `index` of the chain, which must be below sector_count().
  std::uint32_t sector(std::uint64_t index) { return piece_at(index, 1).sector; }

  /// Reads `count` bytes from `position`, neighbouring sectors at once; fewer at the end of the chain or of
  /// the file.
  std::size_t read_at(std::uint64_t position, void* destination, std::size_t count);

 private:
  struct Run {
    std::uint32_t index;
    std::uint32_t sector;
  };
  struct Piece {
    std::uint32_t sector;
    std::uint64_t count;
  };

  void append(std::uint32_t index, std::uint32_t sector);
  void append_to_runs(std::uint32_t index, std::uint32_t sector);
  void append_to_marks(std::uint32_t index, std::uint32_t sector);
  Piece piece_at(std::uint64_t index, std::uint64_t wanted);
  Piece piece_in_runs(std::uint64_t index) const;
  Piece piece_behind_mark(std::uint64_t index, std::uint64_t wanted);

  SectorAllocationTable& table_;
  std::uint64_t sector_count_ = 0;
  bool leaves_file_ = false;
  bool runs_in_circle_ = false;
  bool is_scattered_ = false;  ///< too many runs: there are only marks
  std::vector<Run> runs_;
  std::vector<std::uint32_t> marks_;  ///< every so many sectors of the chain
  unsigned mark_bits_ = 6;            ///< their distance as a power of two
  Run last_ = {0, 0};                 ///< of a scattered chain, the place reached last
};

}  // namespace VRX::System::CFI
