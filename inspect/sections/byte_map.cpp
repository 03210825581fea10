#include "inspect/sections/byte_map.h"

#include <algorithm>
#include <tuple>

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
  const auto place = [](const ByteClaim& claim) {
    const ByteOwner& owner = claim.owner;
    return std::tuple(claim.offset, owner.kind, owner.partition, owner.stream);
  };
  if (!std::ranges::is_sorted(claims_, {}, place)) std::ranges::sort(claims_, {}, place);
  std::uint64_t end = 0;
  std::size_t kept = 0;
  for (ByteClaim claim : claims_) {
    if (claim.offset < end) {
      note_overlap(claims_[kept - 1], claim);
      if (claim.end() <= end) continue;
      const std::uint64_t cut = end - claim.offset;
      if (claim.stream_offset != ByteClaim::kNoOffset) claim.stream_offset += cut;
      claim.offset += cut;
      claim.length -= cut;
    }
    end = claim.end();
    claims_[kept++] = claim;
  }
  claims_.resize(kept);
  visit_ranges([this](const ByteClaim& range) {
    sums_[static_cast<std::size_t>(range.owner.protection)] += range.length;
  });
}

const ByteClaim* ByteMap::find(std::uint64_t offset) const {
  const auto behind = std::ranges::upper_bound(claims_, offset, {}, &ByteClaim::offset);
  if (behind == claims_.begin()) return nullptr;
  const ByteClaim& claim = *(behind - 1);
  return offset < claim.end() ? &claim : nullptr;
}

}  // namespace inspect
