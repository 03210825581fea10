#include "support/console.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <span>
#include <string>

#include "support/environment.h"
#include "support/plain_format.h"
#include "support/printable.h"
#include "support/text_format.h"

namespace support {

namespace {

std::atomic<Console*> registered = nullptr;
static_assert(std::atomic<Console*>::is_always_lock_free, "a signal handler reads it");

// Takes no memory: what it has to say may be that there is none.
void write_error(std::FILE* messages, std::string_view text) {
  if (is_plain(text)) {
    std::fwrite(text.data(), 1, text.size(), messages);
  } else {
    write_printable(messages, text, KeepLayout::yes);
  }
}

}  // namespace

void hold_standard_streams() {
  int descriptor = ::open("/dev/null", O_RDONLY);
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = ::open("/dev/null", O_RDONLY);
  if (descriptor > STDERR_FILENO) ::close(descriptor);
}

Console::~Console() {
  Console* self = this;
  registered.compare_exchange_strong(self, nullptr);
}

/// What is printed is made of texts that are fit for a terminal, by those who know which come from a file.
/// Whoever forgets it is caught here, but for line ends, which are ours as well.
void Console::append_fit(std::string_view text) {
  if (is_plain(text)) {
    output_.append(text);
  } else {
    output_.append(printable(text, KeepLayout::yes));
  }
}

void Console::erase_passing_line() {
  if (!passing_line_shown_) return;
  passing_line_shown_ = false;
  std::fputs("\r\033[K", messages_);
}

void Console::show_passing_line(std::string_view text) {
  // What waits in the buffer of standard output belongs above the line, not into it.
  output_.flush();
  std::fputs("\r", messages_);
  write_printable(messages_, text, KeepLayout::no);
  std::fputs("\033[K", messages_);
  passing_line_shown_ = true;
}

void Console::print(const char* format, ...) {
  erase_passing_line();
  std::va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  const std::span<char> room = output_.room();
  std::size_t length = room.size();
  if (format_plain(room.data(), length, format, arguments)) {
    output_.use(length);
  } else {
    append_fit(format_text_list(format, again));
  }
  va_end(again);
  va_end(arguments);
}

void Console::print_text(std::string_view text) {
  erase_passing_line();
  append_fit(text);
}

void Console::print_message(const char* format, ...) {
  erase_passing_line();
  output_.flush();
  std::va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  char text[16384];  // room for the longest name, escaped, when there is no memory
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  if (length >= 0 && static_cast<std::size_t>(length) < sizeof text) {
    write_error(messages_, {text, static_cast<std::size_t>(length)});
  } else {
    write_error(messages_, format_text_list(format, again));
  }
  va_end(again);
  va_end(arguments);
}

void Console::report_message(std::string_view text, Echo echo) {
  erase_passing_line();
  output_.flush();
  write_error(messages_, text);
  if (echo == Echo::on) append_fit(text);
  if (syslog_forced()) syslog(LOG_USER | LOG_ERR, "%s", printable(text, KeepLayout::yes).c_str());
}

bool Console::flush() {
  output_.flush();
  return !failed();
}

void register_console(Console& console) { registered = &console; }

void rescue_console() noexcept {
  if (Console* const console = registered) console->rescue();
}

void print_diagnostics(std::string_view text) {
  if (Console* const console = registered) {
    console->print_message("%.*s", static_cast<int>(text.size()), text.data());
  } else {
    write_error(stderr, text);
  }
}

}  // namespace support
