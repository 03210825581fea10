#include "support/console.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <utility>

#include "support/environment.h"
#include "support/plain_format.h"
#include "support/printable.h"
#include "support/text_format.h"

namespace support {

namespace {

/// What waits to be written to standard output. One thread prints, so that no lock is taken for each of a
/// million lines; texts are formatted in place.
class StandardOutput {
 public:
  constexpr StandardOutput() = default;
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  /// For what exit() leaves behind.
  ~StandardOutput() { flush(); }

  /// Free bytes behind the text, enough for most lines; `use` makes the first of them part of it.
  std::span<char> room() {
    if (sizeof text_ - length_ < kUsualLine) flush();
    return std::span(text_).subspan(length_);
  }
  void use(std::size_t count) { length_ += count; }

  void append(std::string_view text) {
    if (text.size() > sizeof text_ - length_) flush();
    if (text.size() > sizeof text_) return write(text);
    std::memcpy(text_ + length_, text.data(), text.size());
    length_ += text.size();
  }

  void flush() { write({text_, std::exchange(length_, 0)}); }

  bool failed() const { return failed_; }

 private:
  static constexpr std::size_t kUsualLine = 512;

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

  std::size_t length_ = 0;
  bool failed_ = false;
  char text_[std::size_t{64} * 1024] = {};
};

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

void write_error(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stderr); }

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
  write_error("\r" + printable(text) + "\033[K");
  passing_line_shown = true;
}

void print(const char* format, ...) {
  erase_passing_line();
  std::va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  const std::span<char> room = standard_output.room();
  std::size_t length = room.size();
  if (!format_plain(room.data(), length, format, arguments)) {
    append_fit(format_text_list(format, again));
  } else if (const std::string_view text(room.data(), length); is_plain(text)) {
    standard_output.use(length);
  } else {
    append_fit(std::string(text));
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
  std::va_list arguments;
  va_start(arguments, format);
  write_error(printable(format_text_list(format, arguments), KeepLayout::yes));
  va_end(arguments);
}

void report_message(std::string_view text, Echo echo) {
  erase_passing_line();
  standard_output.flush();
  const std::string fit = printable(text, KeepLayout::yes);
  write_error(fit);
  if (echo == Echo::on) standard_output.append(fit);
  if (syslog_forced()) syslog(LOG_USER | LOG_ERR, "%s", fit.c_str());
}

bool console_failed() { return standard_output.failed(); }

bool flush_console() {
  standard_output.flush();
  return !console_failed();
}

}  // namespace support
