#pragma once

#include <cstdint>
#include <vector>

#include "cfi/compound/chain_loop_guard.h"
#include "cfi/compound/compound_header.h"
#include "cfi/compound/sector_cache.h"
#include "cfi/file_channel.h"

namespace VRX::System::CFI {

/// The FAT of a compound file: for each sector the next one in its chain. A sector of the FAT, or of the
/// DIFAT that says where it is, is read when a chain goes through it.
class SectorAllocationTable {
 public:
  /// What next() says when the link itself is lost: a sector that no file holds.
  static constexpr std::uint32_t kLostSector = compound::kMaxRegularSector;

  explicit SectorAllocationTable(FileChannel& channel);
  SectorAllocationTable(const SectorAllocationTable&) = delete;
  SectorAllocationTable& operator=(const SectorAllocationTable&) = delete;

  const CompoundHeader& header() const { return header_; }
  FileChannel& channel() const { return channel_; }
  SectorCache& tables() { return tables_; }

  /// The link of a sector that the file holds: a sector, kEndOfChain or another mark; kFreeSector when the
  /// FAT does not go that far, kLostSector when the file ends before the FAT sector that has the link.
  /// Raises 1021266 when the DIFAT runs in a circle.
  std::uint32_t next(std::uint32_t sector);

  /// The links that a sector of the FAT holds.
  std::uint32_t links_in_sector() const { return 1U << entry_bits_; }

  /// The sector that holds the FAT's sector number `index`: no sector of the file where the FAT has ended,
  /// and where it lists none. Raises 1021266 when the DIFAT runs in a circle.
  std::uint32_t fat_sector(std::uint32_t index);

  /// The DIFAT sector at place `index` of their chain, no sector of the file behind the last. Raises as
  /// fat_sector() does.
  std::uint32_t difat_sector(std::uint32_t index);

 private:
  std::uint32_t entry_of(std::uint32_t table_sector, std::uint32_t index);

  FileChannel& channel_;
  const CompoundHeader header_;
  const unsigned entry_bits_;
  SectorCache tables_;
  std::vector<std::uint32_t> difat_sectors_;
  ChainLoopGuard difat_guard_;
  std::uint32_t last_index_ = compound::kFreeSector;
  std::uint32_t last_fat_sector_ = compound::kFreeSector;
};

}  // namespace VRX::System::CFI
