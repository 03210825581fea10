#include "support/local_time.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <ctime>

namespace support {

namespace {

constexpr int kMaxYear = 9999;

/// Writes the name at `index` in a run of names of three letters, and a blank.
char* put_name(char* at, const char* names, int index) {
  at = std::copy_n(names + std::ptrdiff_t{3} * index, 3, at);
  *at++ = ' ';
  return at;
}

char* put_two_digits(char* at, int number, char padding, char separator) {
  *at++ = number < 10 ? padding : static_cast<char>('0' + number / 10);
  *at++ = static_cast<char>('0' + number % 10);
  *at++ = separator;
  return at;
}

}  // namespace

std::string local_time_line(std::int64_t seconds) {
  std::string line;
  append_local_time(line, seconds);
  return line += '\n';
}

void append_local_time(std::string& out, std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm broken_down = {};
  // localtime_r looks at the zone file once; ctime would for each line.
  char line[40];
  char* const end = line + sizeof line;
  char* at = line;
  if (localtime_r(&time, &broken_down) == nullptr || broken_down.tm_year > kMaxYear - 1900) {
    out.append(line, std::to_chars(line, end, seconds).ptr);
    return;
  }
  at = put_name(at, "SunMonTueWedThuFriSat", broken_down.tm_wday);
  at = put_name(at, "JanFebMarAprMayJunJulAugSepOctNovDec", broken_down.tm_mon);
  at = put_two_digits(at, broken_down.tm_mday, ' ', ' ');
  at = put_two_digits(at, broken_down.tm_hour, '0', ':');
  at = put_two_digits(at, broken_down.tm_min, '0', ':');
  at = put_two_digits(at, broken_down.tm_sec, '0', ' ');
  at = std::to_chars(at, end, broken_down.tm_year + std::int64_t{1900}).ptr;
  out.append(line, at);
}

}  // namespace support
