#pragma once

#include <string_view>

/// The two streams that a person reads. Whatever passes through here is made fit for a terminal as
/// printable() does with KeepLayout::yes. Line ends cannot be told from our own any more: texts from a file
/// are made printable() where a message is put together.
namespace support {

/// Takes the places of standard streams that the caller has closed: a file opened later would be given one of
/// them, and reports would be written into it. Writes to such a stream still fail. Called once, before any
/// file is opened.
void open_console();

/// Reports and trace lines: printf to standard output, whose text is gathered and written in large pieces.
/// All that goes there goes through these functions, not through stdio.
[[gnu::format(printf, 1, 2)]] void print(const char* format, ...);

/// The same for text that is ready; the fast way for lines by the million.
void print_text(std::string_view text);

/// A message for the person at the terminal: standard output is flushed, then printf to standard error.
[[gnu::format(printf, 1, 2)]] void print_message(const char* format, ...);

enum class Echo { off, on };

/// An error or a warning: the whole text to standard error, again to standard output when `echo` is on, and
/// to the system log when that is forced.
void report_message(std::string_view text, Echo echo);

/// Flushes standard output; false when any write to it has failed since the start.
bool flush_console();

/// For the signal handler, and safe to call there: writes the lines that wait for standard output and are
/// whole. Nothing may be printed afterwards.
void rescue_console() noexcept;

/// One passing line on standard error, in place of the one shown before; whatever is printed next through
/// these functions erases it first. For a terminal only; `text` holds no control characters.
void show_passing_line(std::string_view text);
void erase_passing_line();

/// True once a write to standard output has failed (full disk, closed pipe).
bool console_failed();

}  // namespace support
