#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/byte_sink.h"
#include "support/descriptor.h"

namespace support {

/// An unnamed temporary file that spools share for what they do not keep in memory. It is made when it is
/// first needed, and gives back the space of what is released.
class SpoolFile {
 public:
  /// A piece of the file, in bytes.
  struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
  };

  /// Raises 641002 when the bytes cannot be kept.
  Extent append(std::string_view bytes);

  /// Raises 641002 when the file cannot be read, and what the sink raises.
  void copy(const Extent& extent, ByteSink& sink) const;

  void release(const Extent& extent) noexcept;

 private:
  void write(std::string_view bytes, std::uint64_t offset);

  Descriptor file_;
  std::uint64_t end_ = 0;
  std::uint64_t used_ = 0;  ///< bytes that are not released
};

/// Keeps a document until it is wanted: in memory up to a MiB, what is more in the file. A spool that has a
/// sink behind it keeps nothing that is longer: it lets all of it pass.
class Spool final : public ByteSink {
 public:
  static constexpr std::size_t kMemoryBytes = std::size_t{1} << 20U;

  /// The file and the sink outlive the spool.
  explicit Spool(SpoolFile& file, ByteSink* behind = nullptr) : file_(file), behind_(behind) {}
  ~Spool() override { clear(); }

  /// Raises 641002 when the bytes cannot be kept, and what the sink behind it raises; what was written is
  /// then worth nothing.
  void write(std::string_view bytes) override;

  /// Puts what is in memory into the file.
  void push_out();

  /// Bytes of memory that it takes.
  std::size_t memory() const { return memory_.size(); }

  /// True when bytes have gone to the sink behind it, so that they cannot be taken back.
  bool has_passed() const { return has_passed_; }

  /// Copies what is kept. Raises what SpoolFile::copy() raises.
  void copy_to(ByteSink& sink) const;

  void clear() noexcept;

 private:
  void move_on(std::string_view bytes);

  SpoolFile& file_;
  ByteSink* behind_;
  bool has_passed_ = false;
  std::vector<SpoolFile::Extent> extents_;  ///< what comes before the bytes in memory
  std::string memory_;
};

}  // namespace support
