#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "support/keyed_hash.h"

namespace inspect {

/// A set of positive numbers; open addressing.
template <typename Number>
class NumberSet {
 public:
  /// True when `number` is new. Numbers below 1 are not kept.
  bool insert(Number number) {
    if (number < 1) return true;
    if ((used_ + 1) * 4 > slots_.size() * 3) grow();
    Number& slot = slots_[slot_of(number)];
    if (slot == number) return false;
    slot = number;
    ++used_;
    return true;
  }

  /// Takes out a number that is in the set.
  void erase(Number number) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t hole = slot_of(number);
    // What follows without a gap moves up unless it would leave the way from its own first slot.
    for (std::size_t at = (hole + 1) & mask; slots_[at] != 0; at = (at + 1) & mask) {
      const std::size_t first = hash(slots_[at]) & mask;
      if (((at - first) & mask) < ((at - hole) & mask)) continue;
      slots_[hole] = slots_[at];
      hole = at;
    }
    slots_[hole] = 0;
    --used_;
  }

  std::size_t size() const { return used_; }

 private:
  static std::size_t hash(Number number) {
    return static_cast<std::size_t>(
        support::keyed_hash({reinterpret_cast<const char*>(&number), sizeof number}));
  }

  /// The slot that holds `number`, or the free one where it belongs.
  std::size_t slot_of(Number number) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash(number) & mask;
    while (slots_[at] != 0 && slots_[at] != number) at = (at + 1) & mask;
    return at;
  }

  void grow() {
    std::vector<Number> old(slots_.empty() ? 64 : slots_.size() * 2);
    old.swap(slots_);
    for (const Number number : old) {
      if (number != 0) slots_[slot_of(number)] = number;
    }
  }

  std::vector<Number> slots_;
  std::size_t used_ = 0;
};

using IdSet = NumberSet<std::int32_t>;

}  // namespace inspect
