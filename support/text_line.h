#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <string>

/// Lines of a report put together piece by piece: printf is too slow where there are a million of them.
namespace support {

/// Appends a number in decimal, padded on the left with blanks to `width` columns.
template <std::integral Number>
void append_number(std::string& line, Number number, std::size_t width = 0) {
  char digits[24];
  const auto* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  const auto count = static_cast<std::size_t>(end - digits);
  if (count < width) line.append(width - count, ' ');
  line.append(digits, count);
}

}  // namespace support
