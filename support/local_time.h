#pragma once

#include <cstdint>
#include <string>

namespace support {

/// Seconds since 1970 as local time in the form of ctime, with its line end: "Thu Jan  1 00:00:00 1970\n".
/// A time that has no such form is shown as its number.
std::string local_time_line(std::int64_t seconds);

/// The same appended to `out`, without line end; the fast way for times by the million.
void append_local_time(std::string& out, std::int64_t seconds);

}  // namespace support
