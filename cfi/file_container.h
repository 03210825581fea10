#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "cfi/file_channel.h"
#include "support/byte_order.h"

struct XXH32_state_s;

namespace VRX::System::CFI {

/// Typed little-endian reads of the storage file itself, front to back, through one window that slides
/// along it; the digest of the bytes read is taken as the window moves, so that an index is read once.
/// A read behind the end of the file raises 1020023. Every `label` names the field for the
/// "structured_storage_io" channel.
class FileContainer {
 public:
  FileContainer(FileChannel& channel, std::uint64_t offset);
  ~FileContainer();
  FileContainer(const FileContainer&) = delete;
  FileContainer& operator=(const FileContainer&) = delete;

  /// The file offset of the next byte.
  std::uint64_t position() const { return window_offset_ + next_; }

  /// Bytes between the position and the end of the file.
  std::uint64_t bytes_left() const;

  /// Raises 1020023 unless that many bytes are left: to be asked before memory is taken for them.
  void require(std::size_t count) const {
    if (count > end_ - next_ && count > bytes_left()) raise_end();
  }

  std::uint8_t read_byte(const char* label) { return read_integer<std::uint8_t>(label); }
  std::int16_t read_int16(const char* label) { return read_integer<std::int16_t>(label); }
  std::int32_t read_int32(const char* label) { return read_integer<std::int32_t>(label); }
  std::int64_t read_int64(const char* label) { return read_integer<std::int64_t>(label); }

  /// Any number of bytes; they are shown on the channel as text.
  void read_text(char* destination, std::size_t count, const char* label) {
    if (shows_reads_) show_text(count, label);
    copy(destination, count);
  }

  /// True when that many bytes are in the window, and none of them will move before they are read.
  bool holds(std::size_t count) const { return count <= end_ - next_; }

  /// As read_text, of bytes that the window holds, where they lie.
  std::string_view take_text(std::size_t count, const char* label) {
    if (shows_reads_) show_text(count, label);
    next_ += count;
    return {reinterpret_cast<const char*>(window_.get()) + next_ - count, count};
  }

  /// Any number of bytes; only their number is shown on the channel.
  void read_bytes(void* destination, std::size_t count, const char* label);

  /// Starts an XXH32 digest (seed 0) at the position.
  void start_digest();

  /// The digest of all bytes read since it was started.
  std::uint32_t digest();

 private:
  template <typename Integer>
  Integer read_integer(const char* label) {
    if (end_ - next_ < sizeof(Integer)) slide(sizeof(Integer));
    const auto value = support::load_little<Integer>(window_.get() + next_);
    if (shows_reads_) show_integer(label, static_cast<std::int64_t>(value));
    next_ += sizeof(Integer);
    return value;
  }

  void slide(std::size_t wanted);
  void digest_read_bytes();
  void copy(void* destination, std::size_t count) {
    if (count > end_ - next_) return copy_across_windows(destination, count);
    std::memcpy(destination, window_.get() + next_, count);
    next_ += count;
  }
  void copy_across_windows(void* destination, std::size_t count);
  [[noreturn]] static void raise_end();
  void show_text(std::size_t count, const char* label);
  void show_integer(const char* label, std::int64_t value) const;

  struct FreeDigest {
    void operator()(XXH32_state_s* state) const;
  };

  FileChannel& channel_;
  std::unique_ptr<unsigned char[]> window_;
  std::size_t capacity_ = 0;
  std::size_t next_ = 0;
  std::size_t end_ = 0;
  std::size_t digested_ = 0;
  std::uint64_t window_offset_;
  std::unique_ptr<XXH32_state_s, FreeDigest> digest_;
  bool shows_reads_;
};

}  // namespace VRX::System::CFI
