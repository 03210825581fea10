#include "support/text_format.h"

#include <cstdio>

namespace support {

std::string format_text_list(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  char small[512];
  const int length = std::vsnprintf(small, sizeof small, format, arguments);
  std::string text;
  if (length >= 0) {
    const auto size = static_cast<std::size_t>(length);
    if (size < sizeof small) {
      text.assign(small, size);
    } else {
      text.resize(size);
      std::vsnprintf(text.data(), size + 1, format, again);
    }
  }
  va_end(again);
  return text;
}

std::string format_text(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = format_text_list(format, arguments);
  va_end(arguments);
  return text;
}

}  // namespace support
