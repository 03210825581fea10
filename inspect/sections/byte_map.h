#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>
#include <vector>

#include "cfi/container_layout.h"

namespace inspect {

using VRX::System::CFI::Protection;
inline constexpr std::size_t kProtectionCount = 5;

/// "verified", "failed", ...
std::string_view protection_name(Protection protection);

/// What a range of bytes belongs to. A file may have a million ranges: this is kept small.
struct ByteOwner {
  enum class Kind : std::uint8_t { none, container, stream, part, partition };

  Kind kind = Kind::none;
  Protection protection = Protection::unclaimed;
  std::int32_t partition = 0;  ///< id
  std::uint64_t stream = 0;    ///< number of the stream, for its path
  const char* field =
      "";  ///< a literal; of a container: whole name; of part and partition: without those words
};

/// A range of the file, in bytes. A range of the part stream knows where in that stream it begins.
struct ByteClaim {
  static constexpr std::uint64_t kNoOffset = UINT64_MAX;

  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  std::uint64_t stream_offset = kNoOffset;
  ByteOwner owner;

  std::uint64_t end() const { return offset + length; }
};

/// Two claims to the same bytes.
struct ByteOverlap {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
  ByteOwner first;
  ByteOwner second;
};

/// Who owns each byte of a file. Claims come in any order; settle() makes of them ranges in file order,
/// without gap or overlap.
class ByteMap {
 public:
  /// `size` of the file in bytes; claims beyond it are cut.
  explicit ByteMap(std::uint64_t size) : size_(size) {}

  void claim(const ByteClaim& claim);

  /// Of several claims to a byte the one that begins first has it, of those that begin together a container
  /// before a stream, before a part, and the lower number. Once.
  void settle();

  std::uint64_t size() const { return size_; }

  /// The settled claims, in file order.
  const std::deque<ByteClaim>& claims() const { return claims_; }

  /// Visits all ranges of the file, in its order: the claims, and what lies between them as nobody's.
  template <typename Visit>
  void visit_ranges(Visit visit) const {
    std::uint64_t end = 0;
    for (const ByteClaim& claim : claims_) {
      if (end < claim.offset) visit(gap(end, claim.offset));
      visit(claim);
      end = claim.end();
    }
    if (end < size_) visit(gap(end, size_));
  }

  /// The first of them, and how many there are.
  const std::vector<ByteOverlap>& overlaps() const { return overlaps_; }
  std::uint64_t overlap_count() const { return overlap_count_; }

  /// Bytes by protection.
  const std::array<std::uint64_t, kProtectionCount>& sums() const { return sums_; }

  /// The settled claim that holds the byte; null for a byte of nobody.
  const ByteClaim* find(std::uint64_t offset) const;

 private:
  static ByteClaim gap(std::uint64_t begin, std::uint64_t end) {
    return {begin, end - begin, ByteClaim::kNoOffset, {}};
  }
  void note_overlap(const ByteClaim& kept, const ByteClaim& cut);

  std::uint64_t size_;
  std::deque<ByteClaim> claims_;  ///< which grows without a second copy
  std::vector<ByteOverlap> overlaps_;
  std::uint64_t overlap_count_ = 0;
  std::array<std::uint64_t, kProtectionCount> sums_ = {};
};

}  // namespace inspect
