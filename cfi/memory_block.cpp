#include "cfi/memory_block.h"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace VRX::System::CFI {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} * 1024 * 1024;

void* map(std::size_t size) {
  void* mapped = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  // A wish; without huge pages everything works as well.
  static_cast<void>(::madvise(mapped, size, MADV_HUGEPAGE));
  return mapped;
}

}  // namespace

void MemoryBlock::grow(std::size_t size) {
  if (size <= size_) return;
  if (size < kHugePage) {
    void* larger = std::realloc(data_, size);
    if (larger == nullptr) throw std::bad_alloc();
    data_ = larger;
    size_ = size;
    return;
  }
  size = (size + kHugePage - 1) / kHugePage * kHugePage;
  if (is_mapped_) {
    void* moved = ::mremap(data_, size_, size, MREMAP_MAYMOVE);
    if (moved == MAP_FAILED) throw std::bad_alloc();
    data_ = moved;
  } else {
    void* mapped = map(size);
    if (size_ > 0) std::memcpy(mapped, data_, size_);
    std::free(data_);
    data_ = mapped;
    is_mapped_ = true;
  }
  size_ = size;
}

void MemoryBlock::release() {
  if (is_mapped_) {
    ::munmap(data_, size_);
  } else {
    std::free(data_);
  }
}

}  // namespace VRX::System::CFI
