#pragma once

#include <string>
#include <string_view>

namespace support {

enum class KeepLayout { no, yes };

/// Text from a file, fit for a terminal: control characters (also those of C1 in UTF-8) and bytes that are
/// no valid UTF-8 become \xNN. With KeepLayout::yes line ends and tabs stay.
std::string printable(std::string_view text, KeepLayout layout = KeepLayout::no);

/// The same, appended to `out`.
void append_printable(std::string& out, std::string_view text, KeepLayout layout = KeepLayout::no);

/// The length in bytes of the printable UTF-8 character that `text` begins with; 0 when there is none.
std::size_t printable_length(std::string_view text);

}  // namespace support
