#include "support/console.h"

#include <fcntl.h>
#include <poll.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>

#include "support/environment.h"
#include "support/plain_format.h"
#include "support/printable.h"
#include "support/text_format.h"

namespace support {

namespace {

/// What waits to be written to standard output. One thread prints, so that no lock is taken for each of a
/// million lines; texts are formatted in place. A signal may come at any time: `length_` counts what is
/// whole, and is 0 while it is on its way to the system, so that the handler neither cuts nor repeats it.
class StandardOutput {
 public:
  constexpr StandardOutput() = default;
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  /// For what exit() leaves behind.
  ~StandardOutput() { flush(); }

  /// Free bytes behind the text, enough for most lines; `use` makes the first of them part of it.
  std::span<char> room() {
    if (sizeof text_ - length() < kUsualLine) flush();
    return std::span(text_).subspan(length());
  }
  void use(std::size_t count) { set_length(length() + count); }

  void append(std::string_view text) {
    if (text.size() > sizeof text_ - length()) flush();
    if (text.size() > sizeof text_) return write(text);
    std::memcpy(text_ + length(), text.data(), text.size());
    use(text.size());
  }

  void flush() {
    const std::size_t count = length();
    set_length(0);
    write({text_, count});
  }

  /// For a signal handler: writes the lines that are whole, as far as somebody takes them.
  void rescue() noexcept;

  bool failed() const { return failed_; }

 private:
  static constexpr std::size_t kUsualLine = 512;

  std::size_t length() const { return length_.load(std::memory_order_relaxed); }
  void set_length(std::size_t length) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    length_.store(length, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
  }

  /// After a write that failed nothing more is written: what comes out is whole up to there.
  void write(std::string_view text) {
    while (!text.empty() && !failed_) {
      const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
      if (written > 0) {
        text.remove_prefix(static_cast<std::size_t>(written));
      } else {
        failed_ = written == 0 || errno != EINTR;
      }
    }
  }

  std::atomic<std::size_t> length_ = 0;
  bool failed_ = false;
  char text_[std::size_t{64} * 1024] = {};
};
static_assert(std::atomic<std::size_t>::is_always_lock_free, "a signal handler reads it");

void StandardOutput::rescue() noexcept {
  constexpr int kPatienceMilliseconds = 500;
  std::string_view text(text_, std::min(length(), sizeof text_));
  text = text.substr(0, text.rfind('\n') + 1);
  while (!text.empty() && !failed_) {
    // A pipe that takes PIPE_BUF bytes does not block; one that nobody reads must not keep the process.
    pollfd taker = {STDOUT_FILENO, POLLOUT, 0};
    if (::poll(&taker, 1, kPatienceMilliseconds) < 1) return;
    const ssize_t written = ::write(STDOUT_FILENO, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (written < 1) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

constinit StandardOutput standard_output;
bool passing_line_shown = false;

/// What is printed is made of texts that are fit for a terminal, by those who know which come from a file.
/// Whoever forgets it is caught here, but for line ends, which are ours as well.
void append_fit(std::string_view text) {
  if (is_plain(text)) {
    standard_output.append(text);
  } else {
    standard_output.append(printable(text, KeepLayout::yes));
  }
}

// Takes no memory: what it has to say may be that there is none.
void write_error(std::string_view text) {
  if (is_plain(text)) {
    std::fwrite(text.data(), 1, text.size(), stderr);
  } else {
    write_printable(stderr, text, KeepLayout::yes);
  }
}

}  // namespace

void open_console() {
  int descriptor = ::open("/dev/null", O_RDONLY);
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = ::open("/dev/null", O_RDONLY);
  if (descriptor > STDERR_FILENO) ::close(descriptor);
}

void erase_passing_line() {
  if (!passing_line_shown) return;
  passing_line_shown = false;
  std::fputs("\r\033[K", stderr);
}

void show_passing_line(std::string_view text) {
  // What waits in the buffer of standard output belongs above the line, not into it.
  standard_output.flush();
  std::fputs("\r", stderr);
  write_printable(stderr, text, KeepLayout::no);
  std::fputs("\033[K", stderr);
  passing_line_shown = true;
}

void print(const char* format, ...) {
  erase_passing_line();
  std::va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  const std::span<char> room = standard_output.room();
  std::size_t length = room.size();
  if (format_plain(room.data(), length, format, arguments)) {
    standard_output.use(length);
  } else {
    append_fit(format_text_list(format, again));
  }
  va_end(again);
  va_end(arguments);
}

void print_text(std::string_view text) {
  erase_passing_line();
  append_fit(text);
}

void print_message(const char* format, ...) {
  erase_passing_line();
  standard_output.flush();
  std::va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  char text[16384];  // room for the longest name, escaped, when there is no memory
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  if (length >= 0 && static_cast<std::size_t>(length) < sizeof text) {
    write_error({text, static_cast<std::size_t>(length)});
  } else {
    write_error(format_text_list(format, again));
  }
  va_end(again);
  va_end(arguments);
}

void report_message(std::string_view text, Echo echo) {
  erase_passing_line();
  standard_output.flush();
  write_error(text);
  if (echo == Echo::on) append_fit(text);
  if (syslog_forced()) syslog(LOG_USER | LOG_ERR, "%s", printable(text, KeepLayout::yes).c_str());
}

bool console_failed() { return standard_output.failed(); }

void rescue_console() noexcept { standard_output.rescue(); }

bool flush_console() {
  standard_output.flush();
  return !console_failed();
}

}  // namespace support
