#include "support/console.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

#include "support/environment.h"
#include "support/plain_format.h"

namespace support {

namespace {

constexpr std::size_t kOutputBufferSize = std::size_t{128} * 1024;
char output_buffer[kOutputBufferSize];
bool passing_line_shown = false;

/// Without it a file opened later would take the place of a standard stream that the caller has closed, and
/// reports would be written into it. Read only: writes to a closed stream still fail.
void occupy_closed_streams() {
  int descriptor = ::open("/dev/null", O_RDONLY);
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = ::open("/dev/null", O_RDONLY);
  if (descriptor > STDERR_FILENO) ::close(descriptor);
}

}  // namespace

void open_console() {
  occupy_closed_streams();
  std::setvbuf(stdout, output_buffer, _IOFBF, sizeof output_buffer);
  // One thread: no lock for each of a million lines.
  __fsetlocking(stdout, FSETLOCKING_BYCALLER);
}

void erase_passing_line() {
  if (!passing_line_shown) return;
  passing_line_shown = false;
  std::fputs("\r\033[K", stderr);
}

void show_passing_line(std::string_view text) {
  // What waits in the buffer of standard output belongs above the line, not into it.
  std::fflush(stdout);
  std::fprintf(stderr, "\r%.*s\033[K", static_cast<int>(text.size()), text.data());
  passing_line_shown = true;
}

void print(const char* format, ...) {
  erase_passing_line();
  std::va_list arguments;
  va_start(arguments, format);
  char text[512];
  std::size_t length = sizeof text;
  std::va_list plain;
  va_copy(plain, arguments);
  if (format_plain(text, length, format, plain)) {
    std::fwrite(text, 1, length, stdout);
  } else {
    std::vfprintf(stdout, format, arguments);
  }
  va_end(plain);
  va_end(arguments);
}

void print_text(std::string_view text) {
  erase_passing_line();
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void print_message(const char* format, ...) {
  erase_passing_line();
  std::fflush(stdout);
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
}

void report_message(std::string_view text, Echo echo) {
  erase_passing_line();
  std::fflush(stdout);
  std::fwrite(text.data(), 1, text.size(), stderr);
  if (echo == Echo::on) print_text(text);
  if (syslog_forced()) syslog(LOG_USER | LOG_ERR, "%.*s", static_cast<int>(text.size()), text.data());
}

bool console_failed() { return std::ferror(stdout) != 0; }

bool flush_console() { return std::fflush(stdout) == 0 && !console_failed(); }

}  // namespace support
