#include "support/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

#include "support/printable.h"
#include "support/text_format.h"

namespace support {

namespace {

constexpr std::uint64_t kLookInterval = std::uint64_t{4} << 20U;
constexpr std::chrono::seconds kQuietTime{1};
constexpr std::chrono::milliseconds kShowInterval{200};
constexpr double kBytesPerMegabyte = 1e6;

/// The last `limit` bytes of `text`, less the rest of a UTF-8 character that the cut would split.
std::string_view tail(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return text;
  text.remove_prefix(text.size() - limit);
  while (!text.empty() && (static_cast<unsigned char>(text.front()) & 0xC0U) == 0x80U) text.remove_prefix(1);
  return text;
}

}  // namespace

std::size_t terminal_columns() {
  constexpr std::size_t kUsualColumns = 80;
  winsize size = {};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualColumns;
  return size.ws_col;
}

std::string progress_text(std::string_view file_name, std::uint64_t done_bytes, std::uint64_t total_bytes,
                          double seconds, std::size_t columns) {
  const double share =
      total_bytes == 0 ? 1 : static_cast<double>(done_bytes) / static_cast<double>(total_bytes);
  const double rate = seconds > 0 ? static_cast<double>(done_bytes) / seconds / kBytesPerMegabyte : 0;
  const std::string figures =
      format_text(": %3d%% %.1f MB/s", static_cast<int>(std::min(share, 1.0) * 100), rate);
  // No character is wider on the screen than it is long in bytes.
  const std::size_t room = columns > figures.size() + 1 ? columns - 1 - figures.size() : 0;
  std::string text(tail(file_name, room));
  text += figures;
  return text.substr(0, columns - std::min<std::size_t>(columns, 1));
}

ProgressLine::ProgressLine(Console* console, std::string_view file_name, std::uint64_t total_bytes)
    : console_(::isatty(STDERR_FILENO) != 0 ? console : nullptr),
      total_bytes_(total_bytes),
      next_look_(std::numeric_limits<std::uint64_t>::max()) {
  if (console_ == nullptr) return;
  file_name_ = printable(file_name);
  next_look_ = kLookInterval;
  start_ = Clock::now();
  next_show_ = start_ + kQuietTime;
}

ProgressLine::~ProgressLine() {
  if (console_ != nullptr) console_->erase_passing_line();
}

void ProgressLine::look() {
  next_look_ = done_bytes_ + kLookInterval;
  const Clock::time_point now = Clock::now();
  if (now < next_show_) return;
  next_show_ = now + kShowInterval;
  show(std::chrono::duration<double>(now - start_).count());
}

void ProgressLine::show(double seconds) const {
  console_->show_passing_line(
      progress_text(file_name_, done_bytes_, total_bytes_, seconds, terminal_columns()));
}

}  // namespace support
