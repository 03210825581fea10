#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace support {

/// A hash table with open addressing of numbers below kNone, each standing for a key that is kept elsewhere,
/// or is the number itself. The caller hashes and compares; what comes from a file is hashed by keyed_hash().
class NumberTable {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  /// The number that `is_key(number)` is true of; kNone when there is none.
  template <typename IsKey>
  std::uint32_t find(std::uint64_t hash, IsKey is_key) const {
    if (slots_.empty()) return kNone;
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = static_cast<std::size_t>(hash) & mask;
    while (slots_[at] != kNone && !is_key(slots_[at])) at = (at + 1) & mask;
    return slots_[at];
  }

  /// Adds a number whose key the table does not have. `hash_of(number)` is asked for those it has when it
  /// grows; at most half of its slots are ever full.
  template <typename HashOf>
  void insert(std::uint64_t hash, std::uint32_t number, HashOf hash_of) {
    if (2 * ++used_ > slots_.size()) {
      std::vector<std::uint32_t> old(std::max(kFewestSlots, 2 * slots_.size()), kNone);
      old.swap(slots_);
      for (const std::uint32_t known : old) {
        if (known != kNone) place(hash_of(known), known);
      }
    }
    place(hash, number);
  }

  /// Makes an empty table large enough for that many numbers: growing costs as much as filling.
  void reserve(std::size_t count) { slots_.assign(std::bit_ceil(std::max(kFewestSlots, 2 * count)), kNone); }

  /// Takes out a number that the table has.
  template <typename HashOf>
  void erase(std::uint64_t hash, std::uint32_t number, HashOf hash_of) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t hole = static_cast<std::size_t>(hash) & mask;
    while (slots_[hole] != number) hole = (hole + 1) & mask;
    // What follows without a gap moves up unless it would leave the way from its own first slot.
    for (std::size_t at = (hole + 1) & mask; slots_[at] != kNone; at = (at + 1) & mask) {
      const std::size_t first = static_cast<std::size_t>(hash_of(slots_[at])) & mask;
      if (((at - first) & mask) < ((at - hole) & mask)) continue;
      slots_[hole] = slots_[at];
      hole = at;
    }
    slots_[hole] = kNone;
    --used_;
  }

  std::size_t size() const { return used_; }

  /// Bytes of memory taken.
  std::size_t byte_count() const { return slots_.size() * sizeof(std::uint32_t); }

 private:
  static constexpr std::size_t kFewestSlots = 64;

  void place(std::uint64_t hash, std::uint32_t number) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = static_cast<std::size_t>(hash) & mask;
    while (slots_[at] != kNone) at = (at + 1) & mask;
    slots_[at] = number;
  }

  std::vector<std::uint32_t> slots_;  // a power of two of them
  std::size_t used_ = 0;
};

}  // namespace support
