#include "inspect/sections/byte_map.h"

#include <algorithm>

namespace inspect {

namespace {

constexpr std::size_t kKeptOverlaps = 20;

}  // namespace

std::string_view protection_name(Protection protection) {
  constexpr std::array<std::string_view, kProtectionCount> kNames = {"verified", "failed", "decoded",
                                                                     "opaque", "unclaimed"};
  return kNames[static_cast<std::size_t>(protection)];
}

void ByteMap::claim(const ByteClaim& claim) {
  if (claim.offset >= size_ || claim.length == 0) return;
  claims_.push_back(claim);
  claims_.back().length = std::min(claim.length, size_ - claim.offset);
}

void ByteMap::note_overlap(const ByteClaim& kept, const ByteClaim& cut) {
  if (++overlap_count_ > kKeptOverlaps) return;
  const std::uint64_t end = std::min(kept.end(), cut.end());
  overlaps_.push_back({cut.offset, end - cut.offset, kept.owner, cut.owner});
}

void ByteMap::settle() {
  std::ranges::stable_sort(claims_, {}, &ByteClaim::offset);
  std::vector<ByteClaim> settled;
  settled.reserve(claims_.size() + claims_.size() / 2 + 1);
  std::uint64_t end = 0;
  const auto add_gap = [&](std::uint64_t up_to) {
    if (end < up_to) settled.push_back({end, up_to - end, ByteClaim::kNoOffset, {}});
  };
  std::size_t reaching_farthest = 0;
  for (ByteClaim& claim : claims_) {
    if (claim.offset < end) {
      note_overlap(settled[reaching_farthest], claim);
      if (claim.end() <= end) continue;
      const std::uint64_t cut = end - claim.offset;
      if (claim.stream_offset != ByteClaim::kNoOffset) claim.stream_offset += cut;
      claim.offset += cut;
      claim.length -= cut;
    }
    add_gap(claim.offset);
    reaching_farthest = settled.size();
    settled.push_back(claim);
    end = claim.end();
  }
  add_gap(size_);
  claims_ = std::move(settled);
  for (const ByteClaim& range : claims_)
    sums_[static_cast<std::size_t>(range.owner.protection)] += range.length;
}

const ByteClaim& ByteMap::at(std::uint64_t offset) const {
  return *(std::ranges::upper_bound(claims_, offset, {}, &ByteClaim::offset) - 1);
}

}  // namespace inspect
