#include "cfi/writing/container.h"

#include <algorithm>
#include <cstring>

namespace VRX::System::CFI {

std::size_t BufferedContainer::read(void* destination, std::size_t count) {
  if (position_ >= bytes_.size()) return 0;
  const std::size_t got = bytes_.copy(static_cast<char*>(destination), count, position_);
  position_ += got;
  return got;
}

std::size_t BufferedContainer::write(const void* bytes, std::size_t count) {
  if (bytes_.size() < position_ + count) bytes_.resize(position_ + count);
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

std::size_t DirectContainer::write(const void* bytes, std::size_t count) {
  const std::size_t written = file_.write_at(offset_ + position_, bytes, count);
  position_ += written;
  size_ = std::max(size_, position_);
  return written;
}

}  // namespace VRX::System::CFI
