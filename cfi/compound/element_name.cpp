#include "cfi/compound/element_name.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "support/utf8.h"

namespace VRX::System::CFI {

namespace {

constexpr bool is_high_surrogate(std::uint32_t code) { return code >= 0xD800 && code <= 0xDBFF; }
constexpr bool is_low_surrogate(std::uint32_t code) { return code >= 0xDC00 && code <= 0xDFFF; }

void append_utf8(std::string& out, std::uint32_t code) {
  const auto put = [&out](std::uint32_t byte) { out += static_cast<char>(byte); };
  const auto continuation = [](std::uint32_t bits) { return 0x80U | (bits & 0x3FU); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0U | code >> 6U);
    put(continuation(code));
  } else if (code < 0x10000) {
    put(0xE0U | code >> 12U);
    put(continuation(code >> 6U));
    put(continuation(code));
  } else {
    put(0xF0U | code >> 18U);
    put(continuation(code >> 12U));
    put(continuation(code >> 6U));
    put(continuation(code));
  }
}

void append_utf16(std::u16string& out, std::uint32_t code) {
  if (code < 0x10000) {
    out += static_cast<char16_t>(code);
    return;
  }
  out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10U));
  out += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FFU));
}

/// Lower-case units first to last, every `step`th of which is `distance` above its upper-case form.
struct CaseRange {
  char16_t first;
  char16_t last;
  char16_t step;
  std::int16_t distance;
};

// Sorted; no two ranges overlap.
constexpr std::array kCaseRanges = {
    CaseRange{0x0061, 0x007A, 1, 32},   CaseRange{0x00E0, 0x00F6, 1, 32}, CaseRange{0x00F8, 0x00FE, 1, 32},
    CaseRange{0x00FF, 0x00FF, 1, -121}, CaseRange{0x0101, 0x012F, 2, 1},  CaseRange{0x0133, 0x0137, 2, 1},
    CaseRange{0x013A, 0x0148, 2, 1},    CaseRange{0x014B, 0x0177, 2, 1},  CaseRange{0x017A, 0x017E, 2, 1},
    CaseRange{0x03AC, 0x03AC, 1, 38},   CaseRange{0x03AD, 0x03AF, 1, 37}, CaseRange{0x03B1, 0x03C1, 1, 32},
    CaseRange{0x03C2, 0x03C2, 1, 31},   CaseRange{0x03C3, 0x03CB, 1, 32}, CaseRange{0x03CC, 0x03CC, 1, 64},
    CaseRange{0x03CD, 0x03CE, 1, 63},   CaseRange{0x0430, 0x044F, 1, 32}, CaseRange{0x0450, 0x045F, 1, 80},
    CaseRange{0x0461, 0x0481, 2, 1},    CaseRange{0x048B, 0x04BF, 2, 1},  CaseRange{0x04C2, 0x04CE, 2, 1},
    CaseRange{0x04CF, 0x04CF, 1, 15},   CaseRange{0x04D1, 0x052F, 2, 1},  CaseRange{0x0561, 0x0586, 1, 48},
    CaseRange{0xFF41, 0xFF5A, 1, 32},
};

}  // namespace

std::string utf8_from_utf16(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t code = text[i];
    if (is_high_surrogate(code) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
      code = 0x10000 + ((code - 0xD800) << 10U) + (text[++i] - 0xDC00U);
    }
    append_utf8(out, code);
  }
  return out;
}

std::optional<std::u16string> utf16_from_utf8(std::string_view text) {
  std::u16string out;
  while (!text.empty()) {
    const support::Utf8Character next = support::first_utf8_character(text);
    if (next.length == 0) return std::nullopt;
    append_utf16(out, next.code);
    text.remove_prefix(next.length);
  }
  return out;
}

char16_t upper_case(char16_t unit) {
  if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
  const auto* range = std::ranges::lower_bound(kCaseRanges, unit, {}, &CaseRange::last);
  if (range == kCaseRanges.end() || unit < range->first || (unit - range->first) % range->step != 0)
    return unit;
  return static_cast<char16_t>(unit - range->distance);
}

int compare_element_names(std::u16string_view left, std::u16string_view right) {
  if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
  for (std::size_t i = 0; i < left.size(); ++i) {
    if (left[i] == right[i]) continue;
    const int difference = upper_case(left[i]) - upper_case(right[i]);
    if (difference != 0) return difference;
  }
  return 0;
}

}  // namespace VRX::System::CFI
