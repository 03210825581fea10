#include "cfi/compound/sector_chain_source.h"

#include <algorithm>

namespace VRX::System::CFI {

SectorChainSource::SectorChainSource(SectorAllocationTable& table, std::uint32_t first, std::uint64_t size)
    : ChainSource(table.channel()),
      chain_(table, first, table.header().sectors_for(size)),
      channel_(table.channel()) {
  set_size(size, chain_.capacity());
  chain_.require_no_circle("a stream");
}

std::optional<std::uint64_t> SectorChainSource::file_offset(std::uint64_t position) const {
  if (position > size() || size() == 0) return std::nullopt;
  // The end lies behind the last byte: there may be no sector that it could begin.
  if (position == size()) return chain_.place_of(size() - 1, 1).offset + 1;
  return chain_.place_of(position, 1).offset;
}

std::uint64_t SectorChainSource::contiguous(std::uint64_t position) const {
  if (position >= size()) return 0;
  return std::min(size() - position, chain_.place_of(position, size() - position).adjoining);
}

}  // namespace VRX::System::CFI
