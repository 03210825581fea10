#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/console.h"

namespace support {

/// Shows how far a long job on one file has come: file, per cent and rate on one line of standard error,
/// from the second second on, gone when the object is. Shows nothing when standard error is no terminal, or
/// there is no console.
///
///     ProgressLine progress(&console, file_name, total_bytes);
///     while (...) { work on n bytes; progress.advance(n); }
class ProgressLine {
 public:
  /// `total_bytes` is what the calls of advance() are expected to add up to.
  ProgressLine(Console* console, std::string_view file_name, std::uint64_t total_bytes);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Cheap: looks at the clock once in a few MiB only.
  void advance(std::uint64_t bytes) {
    done_bytes_ += bytes;
    if (done_bytes_ >= next_look_) look();
  }

 private:
  using Clock = std::chrono::steady_clock;

  void look();
  void show(double seconds) const;

  Console* console_;  ///< null: nothing is shown
  std::string file_name_;
  std::uint64_t total_bytes_;
  std::uint64_t done_bytes_ = 0;
  std::uint64_t next_look_;
  Clock::time_point start_;
  Clock::time_point next_show_;
};

/// Of the terminal on standard error; 80 when that is none.
std::size_t terminal_columns();

/// The line as shown, at most `columns` - 1 bytes: the front of a file name that does not fit is left out.
std::string progress_text(std::string_view file_name, std::uint64_t done_bytes, std::uint64_t total_bytes,
                          double seconds, std::size_t columns);

}  // namespace support
