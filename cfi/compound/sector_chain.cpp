#include "cfi/compound/sector_chain.h"

#include <algorithm>

#include "cfi/cfi_error_codes.h"
#include "support/limits.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

constexpr std::size_t kNoWindow = SIZE_MAX;

}  // namespace

SectorChain::SectorChain(SectorAllocationTable& table, std::uint32_t first, std::uint64_t wanted)
    : table_(table) {
  ChainLoopGuard guard(first);
  std::uint32_t sector = first;
  while (table_.header().holds(sector) && !runs_in_circle_) {
    if (sector_count_ < wanted) {
      append(static_cast<std::uint32_t>(sector_count_), sector);
      ++sector_count_;
    }
    sector = table_.next(sector);
    runs_in_circle_ = guard.comes_back(sector);
  }
  leaves_file_ = !runs_in_circle_ && sector_count_ < wanted && sector <= compound::kMaxRegularSector;
  if (!window_starts_.empty()) loaded_window_ = window_starts_.size() - 1;
}

void SectorChain::require_no_circle(const char* what) const {
  if (!runs_in_circle_) return;
  const std::string text = support::format_text("the sector chain of %s runs in a circle", what);
  throw make_error(kDamagedCompoundFile, text);
}

/// Adds a sector while the chain is followed for the first time: the runs of the last window stay.
void SectorChain::append(std::uint32_t index, std::uint32_t sector) {
  if (!window_.empty()) {
    const Run& last = window_.back();
    if (sector - last.sector == index - last.index) return;
  }
  if (window_.size() == limits::kSectorRuns) window_.clear();
  if (window_.empty()) window_starts_.push_back({index, sector});
  window_.push_back({index, sector});
}

std::uint64_t SectorChain::window_end(std::size_t number) const {
  return number + 1 < window_starts_.size() ? window_starts_[number + 1].index : sector_count_;
}

void SectorChain::load_window(std::size_t number) {
  if (number == loaded_window_) return;
  loaded_window_ = kNoWindow;
  window_.clear();
  const std::uint64_t end = window_end(number);
  std::uint32_t sector = window_starts_[number].sector;
  for (std::uint32_t index = window_starts_[number].index; index < end; ++index) {
    const bool adjoins = !window_.empty() && sector - window_.back().sector == index - window_.back().index;
    if (!adjoins) window_.push_back({index, sector});
    sector = table_.next(sector);
  }
  loaded_window_ = number;
}

/// The sector at `index` and how many sectors from there on lie side by side in the file.
SectorChain::Piece SectorChain::piece_at(std::uint64_t index) {
  const auto first_index = [](const Run& run) { return std::uint64_t{run.index}; };
  const auto window = std::ranges::upper_bound(window_starts_, index, {}, first_index) - 1;
  load_window(static_cast<std::size_t>(window - window_starts_.begin()));
  const auto following = std::ranges::upper_bound(window_, index, {}, first_index);
  const Run& run = *(following - 1);
  const std::uint64_t end = following == window_.end() ? window_end(loaded_window_) : following->index;
  return {run.sector + static_cast<std::uint32_t>(index - run.index), end - index};
}

std::size_t SectorChain::read_at(std::uint64_t position, void* destination, std::size_t count) {
  if (position >= capacity()) return 0;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, capacity() - position));
  const CompoundHeader& header = table_.header();
  auto* next = static_cast<std::byte*>(destination);
  std::size_t total = 0;
  while (total < count) {
    const std::uint64_t at = position + total;
    const std::uint64_t skipped = at & (header.sector_size() - 1);
    const Piece piece = piece_at(at >> header.sector_shift);
    const std::uint64_t adjoining = (piece.count << header.sector_shift) - skipped;
    const auto asked = static_cast<std::size_t>(std::min<std::uint64_t>(count - total, adjoining));
    const std::size_t got =
        table_.channel().read_at(header.offset_of(piece.sector) + skipped, next + total, asked);
    total += got;
    if (got < asked) break;
  }
  return total;
}

}  // namespace VRX::System::CFI
