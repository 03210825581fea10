#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace inspect {

/// The positive ids seen so far; open addressing with a multiplicative hash.
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
    const std::uint32_t hash = static_cast<std::uint32_t>(id) * 2654435761U;
    std::size_t at = hash & mask;
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
