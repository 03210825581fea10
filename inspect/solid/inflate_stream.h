#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace inspect {

/// One zlib stream being expanded. The memory of its state belongs to this object.
class InflateStream {
 public:
  InflateStream();
  InflateStream(const InflateStream&) = delete;
  InflateStream& operator=(const InflateStream&) = delete;

  /// False when the decompressor could not be initialised.
  bool started() const { return started_; }

  /// The stored bytes to expand next; they must outlive the calls that use them up.
  void set_input(std::span<const unsigned char> input);
  bool input_empty() const { return stream_.avail_in == 0; }

  /// Expands into `room`, as far as input and room reach; returns what inflate returns. Raises
  /// bad_alloc when it lacks memory, which is no fault of the bytes.
  int expand(std::span<unsigned char> room);

  /// True when the fault is a reference to bytes before the stream, the one that inflate looks for only when
  /// it has room to write.
  bool lacks_history() const;

  std::uint64_t produced() const { return produced_; }

  /// Adler-32 of the bytes produced; inflate keeps it up to date.
  std::uint32_t checksum() const;

 private:
  static voidpf allocate(voidpf self, uInt count, uInt size);
  static void release(voidpf self, voidpf block);

  z_stream stream_ = {};
  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  std::uint64_t produced_ = 0;
  bool started_ = false;
};

}  // namespace inspect
