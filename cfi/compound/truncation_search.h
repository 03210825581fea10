#pragma once

#include <cstdint>

#include "cfi/compound/sector_allocation_table.h"

namespace VRX::System::CFI {

/// Looks for bytes of streams beyond the end of a compound file.
class TruncationSearch {
 public:
  explicit TruncationSearch(SectorAllocationTable& table)
      : table_(table), steps_left_(table.header().sector_count) {}

  /// True when any of the `size` bytes of the stream that begins at sector `first`, or the links to them,
  /// lie beyond the end of the file. False for a chain that runs in a circle, and once the chains followed
  /// by this object have more links than the file has sectors.
  bool reaches_beyond_file(std::uint32_t first, std::uint64_t size);

 private:
  SectorAllocationTable& table_;
  std::uint64_t steps_left_;
};

}  // namespace VRX::System::CFI
