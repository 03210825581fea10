#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "cfi/file_channel.h"
#include "support/byte_source.h"

namespace VRX::System::CFI {

/// A stream of a compound file as a source, whatever the pieces that it lies in.
class ChainSource : public support::ByteSource {
 public:
  std::size_t read(void* destination, std::size_t count) final {
    if (position_ >= size_) return 0;
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - position_));
    const std::size_t got = read_at(position_, static_cast<std::byte*>(destination), wanted);
    position_ += got;
    return got;
  }
  std::uint64_t position() const final { return position_; }
  void set_position(std::uint64_t position) final { position_ = position; }

  /// The recorded size, or what the chain has room for when that is less.
  std::uint64_t size() const final { return size_; }

 protected:
  explicit ChainSource(FileChannel& channel) : user_(channel) {}

  /// To be called before anything is read.
  void set_size(std::uint64_t recorded, std::uint64_t room) { size_ = std::min(recorded, room); }

 private:
  /// Of bytes below the size; fewer only at the end of the file.
  virtual std::size_t read_at(std::uint64_t position, std::byte* destination, std::size_t count) = 0;

  FileChannel::User user_;
  std::uint64_t size_ = 0;
  std::uint64_t position_ = 0;
};

}  // namespace VRX::System::CFI
