#include "cfi/compound/sector_cache.h"

#include <algorithm>
#include <bit>

#include "support/limits.h"

namespace VRX::System::CFI {

namespace {

/// As many slots as the file has sectors or the limit allows, rounded to a power of two.
unsigned choose_slot_bits(const CompoundHeader& header) {
  const unsigned most =
      static_cast<unsigned>(std::bit_width(limits::kCachedSectorBytes >> header.sector_shift)) - 1;
  return std::min(most, static_cast<unsigned>(std::bit_width(header.sector_count)));
}

}  // namespace

SectorCache::SectorCache(FileChannel& channel, const CompoundHeader& header)
    : channel_(channel),
      header_(header),
      slot_bits_(choose_slot_bits(header)),
      slots_(std::size_t{1} << slot_bits_) {}

std::span<const unsigned char> SectorCache::sector(std::uint32_t number) {
  // FAT sectors often lie at equal distances, so that the low bits of their numbers are all alike.
  constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
  const auto index = static_cast<std::size_t>(((number + 1) * kGoldenRatio) >> 32U >> (32U - slot_bits_));
  Slot& slot = slots_[index];
  if (slot.number != number || !slot.bytes) {
    const std::size_t size = header_.sector_size();
    if (!slot.bytes) slot.bytes = std::make_unique_for_overwrite<unsigned char[]>(size);
    slot.number = compound::kFreeSector;
    slot.length =
        static_cast<std::uint32_t>(channel_.read_apart_at(header_.offset_of(number), slot.bytes.get(), size));
    slot.number = number;
  }
  return {slot.bytes.get(), slot.length};
}

}  // namespace VRX::System::CFI
