#include "cfi/compound/sector_chain.h"

#include <algorithm>

#include "cfi/cfi_error_codes.h"
#include "support/limits.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

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
    ++link_count_;
    runs_in_circle_ = guard.comes_back(sector);
  }
  leaves_file_ = !runs_in_circle_ && sector_count_ < wanted && sector <= compound::kMaxRegularSector;
  if (!is_scattered_) marks_ = {};
  if (!marks_.empty()) last_ = {0, marks_.front()};
}

void SectorChain::require_no_circle(const char* what) const {
  if (!runs_in_circle_) return;
  const std::string text = support::format_text("the sector chain of %s runs in a circle", what);
  throw make_error(kDamagedCompoundFile, text);
}

void SectorChain::append(std::uint32_t index, std::uint32_t sector) {
  if (!is_scattered_) append_to_runs(index, sector);
  append_to_marks(index, sector);
}

void SectorChain::append_to_runs(std::uint32_t index, std::uint32_t sector) {
  const bool adjoins = !runs_.empty() && sector - runs_.back().sector == index - runs_.back().index;
  if (adjoins) return;
  is_scattered_ = runs_.size() == limits::kSectorRuns;
  if (is_scattered_) {
    runs_ = {};
  } else {
    runs_.push_back({index, sector});
  }
}

void SectorChain::append_to_marks(std::uint32_t index, std::uint32_t sector) {
  if (index >> mark_bits_ == limits::kSectorMarks) {
    for (std::size_t i = 0; i < marks_.size() / 2; ++i) marks_[i] = marks_[2 * i];
    marks_.resize(marks_.size() / 2);
    ++mark_bits_;
  }
  if (index >> mark_bits_ == marks_.size()) marks_.push_back(sector);
}

SectorChain::Piece SectorChain::piece_at(std::uint64_t index, std::uint64_t wanted) const {
  return is_scattered_ ? piece_behind_mark(index, wanted) : piece_in_runs(index);
}

SectorChain::Piece SectorChain::piece_in_runs(std::uint64_t index) const {
  const auto first_index = [](const Run& run) { return std::uint64_t{run.index}; };
  const auto following = std::ranges::upper_bound(runs_, index, {}, first_index);
  const Run& run = *(following - 1);
  const std::uint64_t end = following == runs_.end() ? sector_count_ : following->index;
  return {run.sector + static_cast<std::uint32_t>(index - run.index), end - index};
}

SectorChain::Piece SectorChain::piece_behind_mark(std::uint64_t index, std::uint64_t wanted) const {
  const auto mark = static_cast<std::uint32_t>(index >> mark_bits_);
  const bool goes_on = last_.index <= index && last_.index >> mark_bits_ == mark;
  Run at = goes_on ? last_ : Run{mark << mark_bits_, marks_[mark]};
  for (; at.index < index; ++at.index) at.sector = table_.next(at.sector);
  Piece piece = {at.sector, 1};
  const std::uint64_t most = std::min(wanted, sector_count_ - index);
  for (; piece.count < most; ++piece.count) {
    const std::uint32_t following = table_.next(at.sector);
    if (following != at.sector + 1) break;
    at = {at.index + 1, following};
  }
  last_ = at;
  return piece;
}

SectorChain::Place SectorChain::place_of(std::uint64_t position, std::uint64_t wanted) const {
  const CompoundHeader& header = table_.header();
  const std::uint64_t skipped = position & (header.sector_size() - 1);
  const Piece piece = piece_at(position >> header.sector_shift, header.sectors_for(skipped + wanted));
  return {header.offset_of(piece.sector) + skipped, (piece.count << header.sector_shift) - skipped};
}

std::size_t SectorChain::read_at(std::uint64_t position, void* destination, std::size_t count) const {
  if (position >= capacity()) return 0;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, capacity() - position));
  auto* next = static_cast<std::byte*>(destination);
  std::size_t total = 0;
  while (total < count) {
    const Place place = place_of(position + total, count - total);
    const auto asked = static_cast<std::size_t>(std::min<std::uint64_t>(count - total, place.adjoining));
    const std::size_t got = table_.channel().read_at(place.offset, next + total, asked);
    total += got;
    if (got < asked) break;
  }
  return total;
}

}  // namespace VRX::System::CFI
