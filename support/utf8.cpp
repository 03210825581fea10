#include "support/utf8.h"

namespace support {

namespace {

std::size_t length_by_lead(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

}  // namespace

Utf8Character first_utf8_character(std::string_view text) {
  if (text.empty()) return {};
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = length_by_lead(lead);
  if (length == 0 || length > text.size()) return {};
  std::uint32_t code = length == 1 ? lead : lead & (0x7FU >> length);
  for (const char next : text.substr(1, length - 1)) {
    const auto byte = static_cast<unsigned char>(next);
    if ((byte & 0xC0U) != 0x80) return {};
    code = code << 6U | (byte & 0x3FU);
  }
  const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  if (overlong || code > 0x10FFFF) return {};
  return {code, length};
}

}  // namespace support
