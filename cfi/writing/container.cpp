#include "cfi/writing/container.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "cfi/cfi_error_codes.h"

namespace VRX::System::CFI {

std::size_t BufferedContainer::read(void* destination, std::size_t count) {
  if (position_ >= bytes_.size()) return 0;
  const std::size_t got = bytes_.copy(static_cast<char*>(destination), count, position_);
  position_ += got;
  return got;
}

std::size_t BufferedContainer::write(const void* bytes, std::size_t count) {
  if (count > bytes_.max_size() || position_ > bytes_.max_size() - count) throw system_call_failed(ENOMEM);
  if (bytes_.size() < position_ + count) {
    try {
      bytes_.resize(position_ + count);
    } catch (const std::bad_alloc&) {
      throw system_call_failed(ENOMEM);
    }
  }
  if (count > 0) std::memcpy(bytes_.data() + position_, bytes, count);
  position_ += count;
  return count;
}

void BufferedContainer::truncate(std::uint64_t size) {
  bytes_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size, bytes_.size())));
}

std::size_t DirectContainer::read(void* destination, std::size_t count) {
  if (position_ >= size_) return 0;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - position_));
  const std::size_t got = file_.read_at(offset_ + position_, destination, count);
  position_ += got;
  return got;
}

// What lies behind the stream in the file is only its own.
void DirectContainer::truncate(std::uint64_t size) {
  if (size >= size_) return;
  file_.set_size(offset_ + size);
  size_ = size;
}

std::size_t DirectContainer::write(const void* bytes, std::size_t count) {
  const std::size_t written = file_.write_at(offset_ + position_, bytes, count);
  position_ += written;
  size_ = std::max(size_, position_);
  return written;
}

}  // namespace VRX::System::CFI
