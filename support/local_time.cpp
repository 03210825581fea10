#include "support/local_time.h"

#include <ctime>

#include "support/text_format.h"

namespace support {

std::string local_time_line(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm broken_down = {};
  char line[64];
  // localtime_r looks at the zone file once; ctime would for each line.
  if (localtime_r(&time, &broken_down) != nullptr && broken_down.tm_year <= 9999 - 1900 &&
      asctime_r(&broken_down, line) != nullptr) {
    return line;
  }
  return format_text("%lld\n", static_cast<long long>(seconds));
}

}  // namespace support
