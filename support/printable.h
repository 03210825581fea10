#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace support {

enum class KeepLayout { no, yes };

/// Text from a file, fit for a terminal: control characters (also those of C1 in UTF-8), the characters that
/// break or reorder a line (U+2028, U+2029, U+202A to U+202E, U+2066 to U+2069) and bytes that are no valid
/// UTF-8 become \xNN. With KeepLayout::yes line ends (LF, and CR in front of it) and tabs stay. Text that has
/// been through it stays as it is.
std::string printable(std::string_view text, KeepLayout layout = KeepLayout::no);

/// The same, appended to `out`.
void append_printable(std::string& out, std::string_view text, KeepLayout layout = KeepLayout::no);

/// The same written to `stream`, without taking memory.
void write_printable(std::FILE* stream, std::string_view text, KeepLayout layout);

/// True when nothing in `text` would be escaped with KeepLayout::yes; may be false for printable text beyond
/// ASCII. Cheap: for every line of a report.
bool is_plain(std::string_view text);

/// The length in bytes of the printable UTF-8 character that `text` begins with; 0 when there is none.
std::size_t printable_length(std::string_view text);

}  // namespace support
