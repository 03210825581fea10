#pragma once

#include <array>
#include <cstdint>

#include "cfi/compound/compound_file_format.h"
#include "cfi/file_channel.h"

namespace VRX::System::CFI {

/// What the header of a Microsoft compound file says, and where sectors lie in a file of that length.
struct CompoundHeader {
  unsigned major_version = 0;
  unsigned sector_shift = 0;
  std::uint32_t first_directory_sector = 0;
  std::uint32_t first_mini_fat_sector = 0;
  std::uint32_t first_difat_sector = 0;
  std::uint32_t mini_fat_sector_count = 0;  ///< as stored
  std::uint32_t difat_sector_count = 0;     ///< as stored
  std::array<std::uint32_t, compound::header::kDifatEntries> difat = {};

  /// Length of the file in bytes, and the sectors that begin inside it; the last may be cut short.
  std::uint64_t file_size = 0;
  std::uint32_t sector_count = 0;

  /// One of the sector counts of the header is higher than `sector_count`.
  bool counts_beyond_file = false;

  std::uint32_t sector_size() const { return 1U << sector_shift; }
  bool holds(std::uint32_t sector) const { return sector < sector_count; }

  /// The file offset of any regular sector number, held or not.
  std::uint64_t offset_of(std::uint32_t sector) const { return (std::uint64_t{sector} + 1) << sector_shift; }

  /// The sectors that `size` bytes take.
  std::uint64_t sectors_for(std::uint64_t size) const {
    return (size >> sector_shift) + ((size & (sector_size() - 1)) != 0 ? 1 : 0);
  }
};

/// Raises 1021253 for any version but 3 and 4 and any sector size but 512 and 4096 bytes, 1021266 when
/// the header is cut short or another field that has one legal value has a different one. The counts of the
/// header are only compared with the file: chains are followed by their links.
CompoundHeader read_compound_header(FileChannel& channel);

}  // namespace VRX::System::CFI
