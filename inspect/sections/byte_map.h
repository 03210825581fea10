#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "cfi/container_layout.h"

namespace inspect {

using VRX::System::CFI::Protection;
inline constexpr std::size_t kProtectionCount = 5;

/// "verified", "failed", ...
std::string_view protection_name(Protection protection);

/// What a range of bytes belongs to. The field is a literal.
struct ByteOwner {
  enum class Kind : std::uint8_t { none, container, stream, part, partition };

  Kind kind = Kind::none;
  Protection protection = Protection::unclaimed;
  std::int32_t partition = 0;  ///< id
  std::uint64_t stream = 0;    ///< number of the stream, for its path
  std::string_view field;      ///< of a container: whole name; of part and partition: without those words
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

  /// Of several claims to a byte the one that begins first has it, of those that begin together the first
  /// that was made. Gaps become ranges of nobody. Once.
  void settle();

  std::uint64_t size() const { return size_; }
  const std::vector<ByteClaim>& ranges() const { return claims_; }

  /// The first of them, and how many there are.
  const std::vector<ByteOverlap>& overlaps() const { return overlaps_; }
  std::uint64_t overlap_count() const { return overlap_count_; }

  /// Bytes by protection.
  const std::array<std::uint64_t, kProtectionCount>& sums() const { return sums_; }

  /// The settled range that holds the byte, which must lie in the file.
  const ByteClaim& at(std::uint64_t offset) const;

 private:
  void note_overlap(const ByteClaim& kept, const ByteClaim& cut);

  std::uint64_t size_;
  std::vector<ByteClaim> claims_;
  std::vector<ByteOverlap> overlaps_;
  std::uint64_t overlap_count_ = 0;
  std::array<std::uint64_t, kProtectionCount> sums_ = {};
};

}  // namespace inspect
