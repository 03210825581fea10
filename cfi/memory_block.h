#pragma once

#include <cstddef>

namespace VRX::System::CFI {

/// A block of memory that grows without being copied: a large one is mapped, its pages are moved to a new
/// address, and the system is asked for huge pages, whose first touch is far cheaper by the byte.
class MemoryBlock {
 public:
  MemoryBlock() = default;
  MemoryBlock(const MemoryBlock&) = delete;
  MemoryBlock& operator=(const MemoryBlock&) = delete;
  ~MemoryBlock() { release(); }

  void* data() const { return data_; }
  std::size_t size() const { return size_; }

  /// Makes the block at least `size` bytes long; new bytes are uninitialised. Raises std::bad_alloc.
  void grow(std::size_t size);

 private:
  void release();

  void* data_ = nullptr;
  std::size_t size_ = 0;
  bool is_mapped_ = false;
};

}  // namespace VRX::System::CFI
