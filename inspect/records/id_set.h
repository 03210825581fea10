#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "support/keyed_hash.h"

namespace inspect {

/// The positive ids seen so far; open addressing.
class IdSet {
 public:
  /// True when `id` is new. Ids below 1 are not kept.
  bool insert(std::int32_t id) {
    if (id < 1) return true;
    if ((used_ + 1) * 2 > slots_.size()) grow();
    if (!place(id)) return false;
    ++used_;
    return true;
  }

  void clear() {
    slots_.clear();
    used_ = 0;
  }

 private:
  bool place(std::int32_t id) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = support::keyed_hash({reinterpret_cast<const char*>(&id), sizeof id}) & mask;
    while (slots_[at] != 0) {
      if (slots_[at] == id) return false;
      at = (at + 1) & mask;
    }
    slots_[at] = id;
    return true;
  }

  void grow() {
    std::vector<std::int32_t> old(slots_.empty() ? 64 : slots_.size() * 2);
    old.swap(slots_);
    for (const std::int32_t id : old) {
      if (id != 0) place(id);
    }
  }

  std::vector<std::int32_t> slots_;
  std::size_t used_ = 0;
};

}  // namespace inspect
