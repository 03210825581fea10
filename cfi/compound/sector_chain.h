#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cfi/compound/sector_allocation_table.h"

namespace VRX::System::CFI {

/// A chain of sectors, kept as runs of neighbouring sectors. The whole chain is followed once, on
/// construction; of a chain in very many runs only some 65,000 runs are held at a time, and the others are
/// followed again when they are read.
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
  std::uint32_t sector(std::uint64_t index) { return piece_at(index).sector; }

  /// Reads `count` bytes from `position`, each run at once; fewer at the end of the chain or of the file.
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
  void load_window(std::size_t number);
  std::uint64_t window_end(std::size_t number) const;
  Piece piece_at(std::uint64_t index);

  SectorAllocationTable& table_;
  std::uint64_t sector_count_ = 0;
  bool leaves_file_ = false;
  bool runs_in_circle_ = false;
  std::vector<Run> window_starts_;
  std::vector<Run> window_;
  std::size_t loaded_window_ = 0;
};

}  // namespace VRX::System::CFI
