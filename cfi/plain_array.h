#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

namespace VRX::System::CFI {

/// A growing array of plain values in one block of memory. Unlike std::vector it grows through realloc,
/// which moves the pages of a large block instead of copying them, and leaves new values uninitialised.
template <typename Value>
class PlainArray {
  static_assert(std::is_trivially_copyable_v<Value>);

 public:
  const Value* data() const { return block_.get(); }
  std::size_t size() const { return size_; }
  const Value& operator[](std::size_t index) const { return block_.get()[index]; }
  const Value* begin() const { return data(); }
  const Value* end() const { return data() + size_; }

  /// Room for `count` more values behind the last; they are the caller's to fill.
  Value* extend(std::size_t count) {
    if (count > capacity_ - size_) grow(count);
    Value* first = block_.get() + size_;
    size_ += count;
    return first;
  }

  void push_back(const Value& value) { *extend(1) = value; }

  /// Drops the values from `size` on.
  void truncate(std::size_t size) { size_ = std::min(size_, size); }

 private:
  struct Free {
    void operator()(Value* block) const { std::free(block); }
  };

  void grow(std::size_t count) {
    const std::size_t capacity = std::max({capacity_ * 2, size_ + count, std::size_t{64}});
    void* block = std::realloc(block_.get(), capacity * sizeof(Value));
    if (block == nullptr) throw std::bad_alloc();
    static_cast<void>(block_.release());
    block_.reset(static_cast<Value*>(block));
    capacity_ = capacity;
  }

  std::unique_ptr<Value[], Free> block_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace VRX::System::CFI
