#include "cfi/compound/truncation_search.h"

#include <algorithm>

#include "cfi/compound/chain_loop_guard.h"

namespace VRX::System::CFI {

bool TruncationSearch::reaches_beyond_file(std::uint32_t first, std::uint64_t size) {
  const CompoundHeader& header = table_.header();
  ChainLoopGuard guard(first);
  std::uint32_t sector = first;
  for (std::uint64_t left = size; left > 0;) {
    if (sector > compound::kMaxRegularSector) return false;
    const std::uint64_t used = std::min<std::uint64_t>(left, header.sector_size());
    if (header.offset_of(sector) + used > header.file_size) return true;
    if (steps_left_ == 0) return false;
    --steps_left_;
    left -= used;
    sector = table_.next(sector);
    if (guard.comes_back(sector)) return false;
  }
  return false;
}

}  // namespace VRX::System::CFI
