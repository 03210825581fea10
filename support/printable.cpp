#include "support/printable.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "support/utf8.h"

namespace support {

namespace {

/// A line break, or what makes a terminal show a line in another order than it was written.
bool disturbs_line(std::uint32_t code) {
  return (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

bool is_layout(std::string_view text) {
  return text.starts_with('\n') || text.starts_with('\t') || text.starts_with("\r\n");
}

constexpr std::uint64_t kEach = 0x0101010101010101U;
constexpr std::uint64_t kTopBits = kEach * 0x80;

/// Bytes of 7 bits each: the top bit of those that differ from `byte`.
constexpr std::uint64_t differ_from(std::uint64_t bytes, std::uint64_t byte) {
  return (bytes ^ kEach * byte) + kEach * 0x7F;
}

/// True for eight bytes that are printable ASCII, line feeds or tabs. But for the first look, which is for
/// most, no sum carries into the next byte.
constexpr bool are_plain(std::uint64_t bytes) {
  if (((bytes | (bytes - kEach * ' ') | (bytes + kEach)) & kTopBits) == 0) return true;
  const std::uint64_t low = bytes & ~kTopBits;
  const std::uint64_t is_control = ~(low + kEach * (0x80 - ' '));
  const std::uint64_t is_layout = ~(differ_from(low, '\n') & differ_from(low, '\t'));
  const std::uint64_t is_delete = ~differ_from(low, 0x7F);
  return ((bytes | is_delete | (is_control & ~is_layout)) & kTopBits) == 0;
}

/// The printable ASCII characters that `text` begins with.
std::size_t ascii_length(std::string_view text) {
  const auto is_plain = [](char c) { return c >= 0x20 && c < 0x7F; };
  return static_cast<std::size_t>(std::ranges::find_if_not(text, is_plain) - text.begin());
}

struct Escape {
  explicit Escape(char c) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    text[2] = kDigits[byte >> 4U];
    text[3] = kDigits[byte & 0xFU];
  }
  char text[4] = {'\\', 'x', '0', '0'};
};

/// Calls `put` with the pieces of the text as it is to be printed, one behind the other.
template <typename Put>
void put_printable(std::string_view text, KeepLayout layout, Put put) {
  while (!text.empty()) {
    const std::size_t plain = ascii_length(text);
    if (plain > 0) put(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) return;
    const std::size_t length = std::max<std::size_t>(printable_length(text), 1);
    if (length > 1 || (layout == KeepLayout::yes && is_layout(text))) {
      put(text.substr(0, length));
    } else {
      const Escape escape(text.front());
      put(std::string_view(escape.text, sizeof escape.text));
    }
    text.remove_prefix(length);
  }
}

}  // namespace

std::size_t printable_length(std::string_view text) {
  const Utf8Character first = first_utf8_character(text);
  const auto [code, length] = first;
  if (length == 1) return code >= 0x20 && code != 0x7F ? 1 : 0;
  const bool control = code < 0xA0 || disturbs_line(code);
  return first.is_surrogate() || control ? 0 : length;
}

bool is_plain(std::string_view text) {
  std::uint64_t eight;
  for (; text.size() >= sizeof eight; text.remove_prefix(sizeof eight)) {
    std::memcpy(&eight, text.data(), sizeof eight);
    if (!are_plain(eight)) return false;
  }
  eight = kEach * ' ';
  if (!text.empty()) std::memcpy(&eight, text.data(), text.size());
  return are_plain(eight);
}

std::string printable(std::string_view text, KeepLayout layout) {
  std::string out;
  out.reserve(text.size());
  append_printable(out, text, layout);
  return out;
}

void append_printable(std::string& out, std::string_view text, KeepLayout layout) {
  put_printable(text, layout, [&](std::string_view piece) { out += piece; });
}

void write_printable(std::FILE* stream, std::string_view text, KeepLayout layout) {
  put_printable(text, layout,
                [stream](std::string_view piece) { std::fwrite(piece.data(), 1, piece.size(), stream); });
}

}  // namespace support
