#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string_view>

#include "support/output_buffer.h"

namespace support {

/// Takes the places of standard streams that the caller has closed: a file opened later would be given one of
/// them, and reports would be written into it. Writes to such a stream still fail. Called once, before any
/// file is opened.
void hold_standard_streams();

enum class Echo : std::uint8_t { off, on };

/// The two streams that a person reads, one for reports and one for messages. Whatever passes through here is
/// made fit for a terminal as printable() does with KeepLayout::yes. Line ends cannot be told from our own
/// any more: texts from a file are made printable() where a message is put together.
class Console {
 public:
  /// Reports go to the descriptor `output`, messages to `messages`; both outlive the console.
  explicit Console(int output = STDOUT_FILENO, std::FILE* messages = stderr)
      : output_(output), messages_(messages) {}
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// Reports and trace lines, gathered and written in large pieces: printf to the output. All that goes there
  /// goes through here, not through stdio.
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);

  /// The same for text that is ready; the fast way for lines by the million.
  void print_text(std::string_view text);

  /// A message for the person at the terminal: the output is flushed, then printf to the messages.
  [[gnu::format(printf, 2, 3)]] void print_message(const char* format, ...);

  /// An error or a warning: the whole text to the messages, again to the output when `echo` is on, and to the
  /// system log when that is forced.
  void report_message(std::string_view text, Echo echo);

  /// One passing line among the messages, in place of the one shown before; whatever is printed next erases
  /// it first. For a terminal only; `text` holds no control characters.
  void show_passing_line(std::string_view text);
  void erase_passing_line();

  /// Flushes the output; false when any write to it has failed since the start.
  bool flush();

  /// True once a write to the output has failed (full disk, closed pipe).
  bool failed() const { return output_.failed(); }

  /// For a signal handler; see OutputBuffer.
  void rescue() noexcept { output_.rescue(); }

 private:
  void append_fit(std::string_view text);

  OutputBuffer output_;
  std::FILE* messages_;
  bool passing_line_shown_ = false;
};

/// Makes `console`, while it lives, the one that the process itself knows of: for what belongs to no
/// inspection.
void register_console(Console& console);

/// For the signal handler: rescues the lines of the registered console. Nothing may be printed afterwards.
void rescue_console() noexcept;

/// What a developer wants to hear, on standard error: in its place among the lines of the registered console.
void print_diagnostics(std::string_view text);

}  // namespace support
