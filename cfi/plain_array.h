#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "cfi/memory_block.h"

namespace VRX::System::CFI {

/// A growing array of plain values in one block of memory. Unlike std::vector it does not copy when it grows
/// and leaves new values uninitialised.
template <typename Value>
class PlainArray {
  static_assert(std::is_trivially_copyable_v<Value>);

 public:
  const Value* data() const { return values(); }
  std::size_t size() const { return size_; }
  const Value& operator[](std::size_t index) const { return values()[index]; }
  const Value* begin() const { return data(); }
  const Value* end() const { return data() + size_; }

  /// Room for `count` more values behind the last; they are the caller's to fill.
  Value* extend(std::size_t count) {
    if (count > capacity_ - size_) grow(count);
    Value* first = values() + size_;
    size_ += count;
    return first;
  }

  void push_back(const Value& value) { *extend(1) = value; }

  /// Drops `count` values from `first` on; those behind them move down.
  void erase(std::size_t first, std::size_t count) {
    std::memmove(values() + first, values() + first + count, (size_ - first - count) * sizeof(Value));
    size_ -= count;
  }

  /// Drops the values from `size` on.
  void truncate(std::size_t size) { size_ = std::min(size_, size); }

 private:
  Value* values() const { return static_cast<Value*>(block_.data()); }

  void grow(std::size_t count) {
    block_.grow(std::max({capacity_ * 2, size_ + count, std::size_t{64}}) * sizeof(Value));
    capacity_ = block_.size() / sizeof(Value);
  }

  MemoryBlock block_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace VRX::System::CFI
