#include "cfi/container.h"

#include <algorithm>
#include <cstring>

namespace VRX::System::CFI {

std::size_t BufferedContainer::read(void* destination, std::size_t count) {
  if (position_ >= bytes_.size()) return 0;
  const std::size_t got = bytes_.copy(static_cast<char*>(destination), count, position_);
  position_ += got;
  return got;
}

void BufferedContainer::write(const void* bytes, std::size_t count) {
  if (bytes_.size() < position_ + count) bytes_.resize(position_ + count);
  std::memcpy(bytes_.data() + position_, bytes, count);
  position_ += count;
}

std::size_t DirectContainer::read(void* destination, std::size_t count) {
  if (position_ >= size_) return 0;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - position_));
  file_.read_at(offset_ + position_, destination, count);
  position_ += count;
  return count;
}

void DirectContainer::write(const void* bytes, std::size_t count) {
  file_.write_at(offset_ + position_, {static_cast<const char*>(bytes), count});
  position_ += count;
  size_ = std::max(size_, position_);
}

}  // namespace VRX::System::CFI
