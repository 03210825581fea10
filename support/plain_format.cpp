#include "support/plain_format.h"

#include <charconv>
#include <cstring>
#include <string_view>

#include "support/printable.h"

namespace support {

namespace {

/// The text as it grows; `failed` when it does not fit.
struct Output {
  char* next = nullptr;
  char* end = nullptr;
  bool failed = false;

  void put(std::string_view piece) {
    if (piece.size() > static_cast<std::size_t>(end - next)) {
      failed = true;
      return;
    }
    std::memcpy(next, piece.data(), piece.size());
    next += piece.size();
  }

  template <typename Number>
  void put_number(Number number) {
    const auto [behind, error] = std::to_chars(next, end, number);
    failed = failed || error != std::errc{};
    if (!failed) next = behind;
  }
};

}  // namespace

bool format_plain(char* text, std::size_t& length, const char* format, std::va_list arguments) {
  Output out{text, text + length};
  for (;;) {
    const char* percent = std::strchr(format, '%');
    if (percent == nullptr) break;
    out.put({format, percent});
    format = percent + 1;
    if (*format == 's') {
      const char* piece = va_arg(arguments, const char*);
      if (piece == nullptr) return false;
      const std::string_view inserted(piece);
      if (!is_plain(inserted)) return false;
      out.put(inserted);
    } else if (*format == 'd') {
      out.put_number(va_arg(arguments, int));
    } else if (*format == 'u') {
      out.put_number(va_arg(arguments, unsigned));
    } else if (*format == '%') {
      out.put("%");
    } else if (std::strncmp(format, "llu", 3) == 0 || std::strncmp(format, "lld", 3) == 0) {
      format += 2;
      if (*format == 'u') {
        out.put_number(va_arg(arguments, unsigned long long));
      } else {
        out.put_number(va_arg(arguments, long long));
      }
    } else {
      return false;
    }
    if (out.failed) return false;
    ++format;
  }
  out.put(format);
  length = static_cast<std::size_t>(out.next - text);
  return !out.failed;
}

}  // namespace support
