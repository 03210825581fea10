#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "cfi/file_channel.h"
#include "support/byte_source.h"

namespace VRX::System::CFI {

/// The bytes under a stream that can be written.
class Container : public support::ByteSource {
 public:
  /// Writes at the position, moves behind what was written and returns its count, fewer than asked when the
  /// system stops on the way. A gap behind the end is filled with zeros. Raises 1020059.
  virtual std::size_t write(const void* bytes, std::size_t count) = 0;

  /// Drops the bytes from `size` on; they do not come back when the stream grows again. Raises 1020059.
  virtual void truncate(std::uint64_t size) = 0;

  std::uint64_t position() const override { return position_; }
  void set_position(std::uint64_t position) override { position_ = position; }

 protected:
  std::uint64_t position_ = 0;
};

/// A stream that is kept in memory until a commit flushes it to its place in the file.
class BufferedContainer final : public Container {
 public:
  BufferedContainer() = default;
  explicit BufferedContainer(std::string bytes) : bytes_(std::move(bytes)) {}

  std::size_t read(void* destination, std::size_t count) override;
  std::size_t write(const void* bytes, std::size_t count) override;
  void truncate(std::uint64_t size) override;
  std::uint64_t size() const override { return bytes_.size(); }
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

/// A stream that is written directly to its window of the file: it grows from `offset` on, and nothing may
/// be placed behind it as long as it does.
class DirectContainer final : public Container {
 public:
  /// The file must outlive this object.
  DirectContainer(FileChannel& file, std::uint64_t offset) : file_(file), offset_(offset) {}

  std::size_t read(void* destination, std::size_t count) override;
  std::size_t write(const void* bytes, std::size_t count) override;
  void truncate(std::uint64_t size) override;
  std::uint64_t size() const override { return size_; }

 private:
  FileChannel& file_;
  std::uint64_t offset_;
  std::uint64_t size_ = 0;
};

}  // namespace VRX::System::CFI
