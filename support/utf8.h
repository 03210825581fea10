#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace support {

/// The character that a text begins with: its code, surrogates included, and its length in bytes; 0 when
/// there is no character, or none in its one sound form.
struct Utf8Character {
  std::uint32_t code = 0;
  std::size_t length = 0;

  /// Half of a pair of UTF-16, which strict readers of UTF-8 do not take.
  bool is_surrogate() const { return code >= 0xD800 && code <= 0xDFFF; }
};

Utf8Character first_utf8_character(std::string_view text);

}  // namespace support
