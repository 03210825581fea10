#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace support {

/// Where all bytes come from: a stream of a container, a flat file, an expanded temporary file, a test's
/// buffer. Readers cannot tell which it is. Positions and sizes are in bytes.
class ByteSource {
 public:
  ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;
  virtual ~ByteSource() = default;

  /// Reads `count` bytes at the position and moves behind them; fewer only at the end of the source.
  /// Raises ErrorEscape 1020059 when the system cannot read.
  virtual std::size_t read(void* destination, std::size_t count) = 0;

  virtual std::uint64_t position() const = 0;

  /// Any position is accepted; a read at or behind the end yields 0 bytes.
  virtual void set_position(std::uint64_t position) = 0;

  virtual std::uint64_t size() const = 0;

  /// Bytes that can really be there: the size, which an index may have listed as anything, cut to what lies
  /// below the source. Limits are derived from it.
  virtual std::uint64_t available() const { return size(); }

  /// Where the byte at a position of this source lies in the file, in bytes from its start; nothing when it
  /// lies nowhere as it is, being expanded or in memory.
  virtual std::optional<std::uint64_t> file_offset(std::uint64_t position) const {
    static_cast<void>(position);
    return std::nullopt;
  }

  /// How many bytes from a position on lie side by side in the file; 0 where file_offset() has nothing to
  /// say, and at the end.
  virtual std::uint64_t contiguous(std::uint64_t position) const {
    static_cast<void>(position);
    return 0;
  }

  /// As read(), but what lies ready is taken without a virtual call: for readers that take a field, or a
  /// byte, at a time.
  std::size_t take(void* destination, std::size_t count) {
    if (count > static_cast<std::size_t>(ready_end_ - ready_)) return read(destination, count);
    if (count == 1) {
      *static_cast<std::byte*>(destination) = *ready_;
    } else if (count > 0) {
      std::memcpy(destination, ready_, count);
    }
    ready_ += count;
    return count;
  }

 protected:
  /// The bytes from the position on that a source has at hand; take() moves the first pointer. Sources that
  /// keep none leave both null.
  const std::byte* ready_ = nullptr;
  const std::byte* ready_end_ = nullptr;
};

/// A source over bytes in memory that outlive it.
class MemorySource final : public ByteSource {
 public:
  explicit MemorySource(std::span<const std::byte> bytes) : bytes_(bytes) {}

  std::size_t read(void* destination, std::size_t count) override {
    if (position_ >= bytes_.size()) return 0;
    const auto at = static_cast<std::size_t>(position_);
    const std::size_t taken = count < bytes_.size() - at ? count : bytes_.size() - at;
    if (taken > 0) std::memcpy(destination, bytes_.data() + at, taken);
    position_ += taken;
    return taken;
  }
  std::uint64_t position() const override { return position_; }
  void set_position(std::uint64_t position) override { position_ = position; }
  std::uint64_t size() const override { return bytes_.size(); }

 private:
  std::span<const std::byte> bytes_;
  std::uint64_t position_ = 0;
};

}  // namespace support
