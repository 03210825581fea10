#include "support/printable.h"

#include <gtest/gtest.h>

namespace {

struct Case {
  const char* what;
  std::string text;
  std::string printed;
};

TEST(Printable, EscapesWhatCouldDriveATerminal) {
  const Case cases[] = {
      {"plain text stays", "Bracket 7", "Bracket 7"},
      {"an escape sequence", "\x1B[2J", "\\x1B[2J"},
      {"line ends, tab, delete", "a\n\t\x7F", "a\\x0A\\x09\\x7F"},
      {"valid UTF-8 stays",
       "Stra\xC3\x9F"
       "e \xE2\x82\xAC \xF0\x9F\x94\xA9",
       "Stra\xC3\x9F"
       "e \xE2\x82\xAC \xF0\x9F\x94\xA9"},
      {"C1 controls in UTF-8",
       "\xC2\x9B"
       "2J",
       "\\xC2\\x9B2J"},
      {"a lone continuation byte",
       "a\x80"
       "b",
       "a\\x80b"},
      {"an overlong slash", "\xC0\xAF", "\\xC0\\xAF"},
      {"an overlong three-byte form", "\xE0\x80\xAF", "\\xE0\\x80\\xAF"},
      {"a surrogate", "\xED\xA0\x80", "\\xED\\xA0\\x80"},
      {"beyond the last code point", "\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
      {"a line separator, and its neighbour", "\xE2\x80\xA8\xE2\x80\xA7", "\\xE2\\x80\\xA8\xE2\x80\xA7"},
      {"overrides of direction, and a neighbour",
       "\xE2\x80\xAE\xE2\x80\xAF\xE2\x81\xA6\xE2\x81\xA9\xE2\x81\xAA",
       "\\xE2\\x80\\xAE\xE2\x80\xAF\\xE2\\x81\\xA6\\xE2\\x81\\xA9\xE2\x81\xAA"},
      {"cut in the middle of a character", "\xE2\x82", "\\xE2\\x82"},
  };
  for (const Case& c : cases) EXPECT_EQ(support::printable(c.text), c.printed) << c.what;
}

TEST(Printable, KeepsLayoutWhenAsked) {
  EXPECT_EQ(support::printable("a\r\n\tb\x1B\rc\r", support::KeepLayout::yes), "a\r\n\tb\\x1B\\x0Dc\\x0D");
}

TEST(Printable, PlainIsAsciiWithLineFeedsAndTabs) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{8}, std::size_t{17}}) {
    for (std::size_t at = 0; at < size; ++at) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string text(size, at % 2 == 0 ? '~' : '\n');
        text[at] = static_cast<char>(byte);
        const bool plain = (byte >= ' ' && byte < 0x7F) || byte == '\n' || byte == '\t';
        ASSERT_EQ(support::is_plain(text), plain) << size << ' ' << at << ' ' << byte;
      }
    }
  }
  EXPECT_TRUE(support::is_plain(""));
}

}  // namespace
