#include "cfi/compound/sector_chain_source.h"

#include <algorithm>

namespace VRX::System::CFI {

SectorChainSource::SectorChainSource(SectorAllocationTable& table, std::uint32_t first, std::uint64_t size)
    : user_(table.channel()),
      chain_(table, first, table.header().sectors_for(size)),
      size_(std::min(size, chain_.capacity())),
      channel_(table.channel()) {
  chain_.require_no_circle("a stream");
}

std::size_t SectorChainSource::read(void* destination, std::size_t count) {
  if (position_ >= size_) return 0;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - position_));
  const std::size_t got = chain_.read_at(position_, destination, count);
  position_ += got;
  return got;
}

std::optional<std::uint64_t> SectorChainSource::file_offset(std::uint64_t position) const {
  if (position > size_ || size_ == 0) return std::nullopt;
  // The end lies behind the last byte: there may be no sector that it could begin.
  if (position == size_) return chain_.place_of(size_ - 1, 1).offset + 1;
  return chain_.place_of(position, 1).offset;
}

std::uint64_t SectorChainSource::contiguous(std::uint64_t position) const {
  if (position >= size_) return 0;
  return std::min(size_ - position, chain_.place_of(position, size_ - position).adjoining);
}

}  // namespace VRX::System::CFI
