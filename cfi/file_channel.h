#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "support/byte_source.h"
#include "support/output_file.h"

namespace VRX::System::CFI {

/// An open regular file. Small reads are served from a few windows of 128 KiB that are filled
/// with one pread each, so that readers that take a field at a time cost no system call per field; reads
/// of a window or more go straight to the caller's buffer. Nothing is mapped: a file that is cut while it
/// is read yields fewer bytes, never a signal.
class FileChannel {
 public:
  static constexpr std::size_t kWindowSize = std::size_t{128} * 1024;

  /// Raises 1020059 (with errno) when the file cannot be opened, 1020059 with EISDIR for a folder, and
  /// 1021080 for anything else that is no regular file. Never blocks.
  explicit FileChannel(std::string name);

  /// Takes over an open descriptor of a regular file; `name` is for messages. Raises 1020059.
  FileChannel(int descriptor, std::string name);

  virtual ~FileChannel();
  FileChannel(const FileChannel&) = delete;
  FileChannel& operator=(const FileChannel&) = delete;

  const std::string& name() const { return name_; }

  /// Length in bytes when the file was opened.
  std::uint64_t size() const { return size_; }
  support::FileIdentity identity() const { return identity_; }

  /// When the file was last written, in seconds since 1970, as of its opening.
  std::int64_t modified() const { return modified_; }

  /// True once a read has found the file shorter than it was when it was opened.
  bool has_shrunk() const { return has_shrunk_; }

  /// What reads through the channel, a source over a part of the file, keeps one of these as long as it
  /// lives; the channel must outlive them all.
  class User {
   public:
    explicit User(FileChannel& channel) : channel_(channel) { ++channel_.user_count_; }
    ~User() { --channel_.user_count_; }
    User(const User&) = delete;
    User& operator=(const User&) = delete;

   private:
    FileChannel& channel_;
  };
  std::size_t user_count() const { return user_count_; }

  /// Reads `count` bytes from `offset`; fewer only at the end of the file. Raises 1020059.
  std::size_t read_at(std::uint64_t offset, void* destination, std::size_t count);

  /// Like read_at, but what no window holds is read alone and fills none: for small pieces that lie far
  /// apart, where a window for each would read the whole file.
  std::size_t read_apart_at(std::uint64_t offset, void* destination, std::size_t count);

  /// Bytes of the file that stay as they are while they are held.
  struct Loan {
    std::shared_ptr<const std::byte[]> owner;
    std::span<const std::byte> bytes;
  };

  /// What the window around `offset` holds from there on; empty at the end of the file. Raises 1020059.
  Loan lend(std::uint64_t offset);

  /// Writes `count` bytes at `offset` and returns how many were written, fewer when the system stops on the
  /// way. Raises 1020059 when none can be written, and 1021254 here, where the file is read only.
  virtual std::size_t write_at(std::uint64_t offset, const void* bytes, std::size_t count);

  /// Cuts the file to `size` bytes, or extends it with zeros. Raises 1020059, and 1021254 here.
  virtual void set_size(std::uint64_t size);

  /// Forces what was written to disk. Raises 1020059.
  virtual void flush() {}

 protected:
  FileChannel(std::string name, int open_flags);
  int descriptor() const { return descriptor_; }

  /// Forgets what windows hold, and the length, once the bytes up to `end` have been written.
  void forget_windows(std::uint64_t end);

  /// The same once the file has been given that size.
  void note_size(std::uint64_t size);

 private:
  struct Window {
    std::shared_ptr<std::byte[]> bytes;
    std::uint64_t offset = 0;
    std::size_t length = 0;
    std::uint64_t last_use = 0;
  };

  std::size_t read_direct(std::uint64_t offset, void* destination, std::size_t count);
  Window* window_with(std::uint64_t offset);
  Window& fill_oldest_window(std::uint64_t offset);

  std::string name_;
  int descriptor_ = -1;
  std::uint64_t size_ = 0;
  bool has_shrunk_ = false;
  support::FileIdentity identity_;
  std::int64_t modified_ = 0;
  std::array<Window, 4> windows_;
  std::uint64_t use_count_ = 0;
  std::size_t user_count_ = 0;
};

/// A part of a file as a source: `size` bytes from `offset`. Bytes that the file no longer has, or never
/// had, read as the end of the source.
class ChannelSource final : public support::ByteSource {
 public:
  ChannelSource(FileChannel& channel, std::uint64_t offset, std::uint64_t size)
      : channel_(channel), user_(channel), offset_(offset), size_(size) {}

  std::size_t read(void* destination, std::size_t count) override;
  std::uint64_t position() const override {
    return ready_end_position_ - static_cast<std::uint64_t>(ready_end_ - ready_);
  }
  void set_position(std::uint64_t position) override;
  std::uint64_t size() const override { return size_; }
  std::uint64_t available() const override {
    return std::min(size_, channel_.size() - std::min(offset_, channel_.size()));
  }
  std::optional<std::uint64_t> file_offset(std::uint64_t position) const override {
    if (position > size_) return std::nullopt;
    return offset_ + position;
  }
  std::uint64_t contiguous(std::uint64_t position) const override {
    return size_ - std::min(position, size_);
  }

 private:
  bool borrow();
  void give_back();

  FileChannel& channel_;
  FileChannel::User user_;
  std::uint64_t offset_;
  std::uint64_t size_;
  FileChannel::Loan loan_;                ///< what take() is served from
  std::uint64_t ready_end_position_ = 0;  ///< position behind it; with no loan, the position
};

}  // namespace VRX::System::CFI
