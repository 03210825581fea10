#pragma once

#include <cstdarg>
#include <cstddef>

namespace support {

/// printf of the conversions that reports are made of (%s, %d, %u, %lld, %llu and %%, without flags, widths
/// or precisions), several times as fast. Writes no terminator. False, and nothing to be used, when the
/// format asks for more, the text does not fit, or a text put in is not plain (see is_plain): the format
/// itself is ours, so that what comes out is plain.
[[gnu::format(printf, 3, 0)]] bool format_plain(char* text, std::size_t& length, const char* format,
                                                std::va_list arguments);

}  // namespace support
