#pragma once

#include <cstdint>

#include "support/keyed_hash.h"
#include "support/number_table.h"

namespace inspect {

/// A set of numbers from a file: ids, labels, offsets of directories.
class IdSet {
 public:
  /// True when `number` is new. 0 and the largest number are not kept.
  bool insert(std::uint32_t number) {
    if (number == 0 || number == support::NumberTable::kNone) return true;
    const std::uint64_t hash = hash_of(number);
    const bool is_new = table_.find(hash, [&](std::uint32_t known) { return known == number; }) ==
                        support::NumberTable::kNone;
    if (is_new) table_.insert(hash, number, hash_of);
    return is_new;
  }

  /// Takes out a number that is in the set.
  void erase(std::uint32_t number) { table_.erase(hash_of(number), number, hash_of); }

  std::size_t size() const { return table_.size(); }

 private:
  static std::uint64_t hash_of(std::uint32_t number) {
    return support::keyed_hash({reinterpret_cast<const char*>(&number), sizeof number});
  }

  support::NumberTable table_;
};

}  // namespace inspect
