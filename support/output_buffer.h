#pragma once

#include <atomic>
#include <cstddef>
#include <span>
#include <string_view>

namespace support {

/// Text that waits to be written to a descriptor, in large pieces. One thread prints, so that no lock is
/// taken for each of a million lines; texts are formatted in place. A signal may come at any time: what its
/// handler rescues is neither cut nor repeated.
class OutputBuffer {
 public:
  explicit OutputBuffer(int descriptor) : descriptor_(descriptor) {}
  ~OutputBuffer() { flush(); }
  OutputBuffer(const OutputBuffer&) = delete;
  OutputBuffer& operator=(const OutputBuffer&) = delete;

  /// Free bytes behind the text, enough for most lines; `use` makes the first of them part of it.
  std::span<char> room() {
    if (sizeof text_ - length() < kUsualLine) flush();
    return std::span(text_).subspan(length());
  }
  void use(std::size_t count) { set_length(length() + count); }

  void append(std::string_view text);
  void flush();

  /// For a signal handler: writes the lines that are whole, as far as somebody takes them.
  void rescue() noexcept;

  /// True once a write has failed; nothing more is written then: what comes out is whole up to there.
  bool failed() const { return failed_; }

 private:
  static constexpr std::size_t kUsualLine = 512;
  static_assert(std::atomic<std::size_t>::is_always_lock_free, "a signal handler reads it");

  std::size_t length() const { return length_.load(std::memory_order_relaxed); }
  void set_length(std::size_t length) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    length_.store(length, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
  }
  void write(std::string_view text);

  int descriptor_;
  bool failed_ = false;
  std::atomic<std::size_t> length_ = 0;  ///< of what is whole; 0 while it is on its way to the system
  char text_[std::size_t{64} * 1024] = {};
};

}  // namespace support
