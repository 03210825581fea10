#include "cfi/compound/sector_allocation_table.h"

#include "cfi/cfi_error_codes.h"
#include "support/byte_order.h"

namespace VRX::System::CFI {

using namespace compound;

SectorAllocationTable::SectorAllocationTable(FileChannel& channel)
    : channel_(channel),
      header_(read_compound_header(channel)),
      entry_bits_(header_.sector_shift - 2),
      tables_(channel, header_),
      difat_guard_(header_.first_difat_sector) {}

/// Entry `index` of a sector of the FAT or DIFAT. A mark in place of that sector says that the table ends
/// before it.
std::uint32_t SectorAllocationTable::entry_of(std::uint32_t table_sector, std::uint32_t index) {
  if (table_sector > kMaxRegularSector) return kFreeSector;
  if (!header_.holds(table_sector)) return kLostSector;
  const std::span<const unsigned char> bytes = tables_.sector(table_sector);
  const std::size_t at = kFatEntrySize * index;
  if (bytes.size() < at + kFatEntrySize) return kLostSector;
  return support::load_little<std::uint32_t>(bytes.data() + at);
}

std::uint32_t SectorAllocationTable::difat_sector(std::uint32_t index) {
  if (difat_sectors_.empty()) difat_sectors_.push_back(header_.first_difat_sector);
  const std::uint32_t link = (1U << entry_bits_) - 1;
  while (difat_sectors_.size() <= index && header_.holds(difat_sectors_.back())) {
    const std::uint32_t following = entry_of(difat_sectors_.back(), link);
    if (difat_guard_.comes_back(following)) {
      throw make_error(kDamagedCompoundFile, "the chain of DIFAT sectors runs in a circle");
    }
    difat_sectors_.push_back(following);
  }
  return index < difat_sectors_.size() ? difat_sectors_[index] : difat_sectors_.back();
}

std::uint32_t SectorAllocationTable::fat_sector(std::uint32_t index) {
  if (index < header_.difat.size()) return header_.difat[index];
  const std::uint32_t listed = index - static_cast<std::uint32_t>(header_.difat.size());
  const std::uint32_t per_sector = (1U << entry_bits_) - 1;
  return entry_of(difat_sector(listed / per_sector), listed % per_sector);
}

std::uint32_t SectorAllocationTable::next(std::uint32_t sector) {
  const std::uint32_t index = sector >> entry_bits_;
  if (index != last_index_) {
    last_fat_sector_ = fat_sector(index);
    last_index_ = index;
  }
  return entry_of(last_fat_sector_, sector & ((1U << entry_bits_) - 1));
}

}  // namespace VRX::System::CFI
