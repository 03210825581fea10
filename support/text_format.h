#pragma once

#include <cstdarg>
#include <string>

namespace support {

/// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string format_text(const char* format, ...);
[[gnu::format(printf, 1, 0)]] std::string format_text_list(const char* format, std::va_list arguments);

}  // namespace support
