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

  bool runs_in_circle() const { return runs_in_circle_; }

  /// The links that were followed, those behind the sectors that are kept included.
  std::uint64_t link_count() const { return link_count_; }

  /// Neighbouring sectors of the file that follow one another in the chain.
  struct Piece {
    std::uint32_t sector;
    std::uint64_t count;
  };

  /// Sector `index` of the chain, which must be below sector_count(), and how many from there on lie side by
  /// side in the file; of a chain in very many runs at most as many as are wanted.
  Piece piece_at(std::uint64_t index, std::uint64_t wanted) const;
  std::uint32_t sector(std::uint64_t index) const { return piece_at(index, 1).sector; }

  /// Where the byte at a position below capacity() lies in the file, and how many bytes from there on lie
  /// side by side, up to `wanted` at least.
  struct Place {
    std::uint64_t offset;
    std::uint64_t adjoining;
  };
  Place place_of(std::uint64_t position, std::uint64_t wanted) const;

  /// Reads `count` bytes from `position`, neighbouring sectors at once; fewer at the end of the chain or of
  /// the file.
  std::size_t read_at(std::uint64_t position, void* destination, std::size_t count) const;

 private:
  struct Run {
    std::uint32_t index;
    std::uint32_t sector;
  };

  void append(std::uint32_t index, std::uint32_t sector);
  void append_to_runs(std::uint32_t index, std::uint32_t sector);
  void append_to_marks(std::uint32_t index, std::uint32_t sector);
  Piece piece_in_runs(std::uint64_t index) const;
  Piece piece_behind_mark(std::uint64_t index, std::uint64_t wanted) const;

  SectorAllocationTable& table_;
  std::uint64_t sector_count_ = 0;
  std::uint64_t link_count_ = 0;
  bool leaves_file_ = false;
  bool runs_in_circle_ = false;
  bool is_scattered_ = false;  ///< too many runs: there are only marks
  std::vector<Run> runs_;
  std::vector<std::uint32_t> marks_;  ///< every so many sectors of the chain
  unsigned mark_bits_ = 6;            ///< their distance as a power of two
  mutable Run last_ = {0, 0};         ///< of a scattered chain, the place reached last
};

}  // namespace VRX::System::CFI
