#include "inspect/report/markup_safe_json.h"

#include <array>

namespace inspect {
namespace {

constexpr std::string_view kSeparatorStart = "\xE2\x80";  // U+2028 and U+2029 end in A8 and A9

constexpr std::array<bool, 256> special_bytes() {
  std::array<bool, 256> special{};
  for (const char byte : std::string_view("<>&\xE2")) special.at(static_cast<unsigned char>(byte)) = true;
  return special;
}

constexpr std::array<bool, 256> kSpecial = special_bytes();

std::string_view escape_of(char byte) {
  switch (byte) {
    case '<':
      return "\\u003c";
    case '>':
      return "\\u003e";
    case '&':
      return "\\u0026";
    default:
      return {};
  }
}

}  // namespace

void MarkupSafeJson::write(std::string_view bytes) {
  std::size_t passed = 0;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (held_ == 0 && !kSpecial[static_cast<unsigned char>(bytes[at])]) continue;
    if (at > passed) out_.write(bytes.substr(passed, at - passed));
    take(bytes[at]);
    passed = at + 1;
  }
  if (passed < bytes.size()) out_.write(bytes.substr(passed));
}

void MarkupSafeJson::finish() {
  if (held_ > 0) out_.write(kSeparatorStart.substr(0, held_));
  held_ = 0;
}

void MarkupSafeJson::take(char byte) {
  if (held_ == 2 && (byte == '\xA8' || byte == '\xA9')) {
    held_ = 0;
    out_.write(byte == '\xA8' ? "\\u2028" : "\\u2029");
    return;
  }
  if (held_ == 1 && byte == kSeparatorStart[1]) {
    held_ = 2;
    return;
  }
  finish();
  if (byte == kSeparatorStart[0]) {
    held_ = 1;
    return;
  }
  const std::string_view escape = escape_of(byte);
  out_.write(escape.empty() ? std::string_view(&byte, 1) : escape);
}

}  // namespace inspect
