#include "support/printable.h"

#include <gtest/gtest.h>

namespace {

using support::printable;

TEST(Printable, EscapesWhatCouldDriveATerminal) {
  const char* const plain = "Bracket 7, Stra\u00DFe \u20AC \U0001F529";
  EXPECT_EQ(printable(plain), plain);
  EXPECT_EQ(printable("\x1B[2J, a\n\t\x7F"), "\\x1B[2J, a\\x0A\\x09\\x7F");
  // C1 controls in UTF-8, a lone continuation byte, a character cut in its middle.
  EXPECT_EQ(printable("\xC2\x9B[2J, a\x80, \xE2\x82"), "\\xC2\\x9B[2J, a\\x80, \\xE2\\x82");
  // Overlong forms, a surrogate, what is beyond the last code point.
  EXPECT_EQ(printable("\xC0\xAF, \xE0\x80\xAF, \xED\xA0\x80, \xF4\x90\x80\x80"),
            "\\xC0\\xAF, \\xE0\\x80\\xAF, \\xED\\xA0\\x80, \\xF4\\x90\\x80\\x80");
  // A line separator, overrides of direction, and their neighbours.
  EXPECT_EQ(printable("\u2028\u2027\u202E\u202F"), "\\xE2\\x80\\xA8\u2027\\xE2\\x80\\xAE\u202F");
  EXPECT_EQ(printable("\u2066\u2069\u206A"), "\\xE2\\x81\\xA6\\xE2\\x81\\xA9\u206A");
  EXPECT_EQ(printable("a\r\n\tb\x1B\rc\r", support::KeepLayout::yes), "a\r\n\tb\\x1B\\x0Dc\\x0D");
}

TEST(Printable, PlainIsAsciiWithLineFeedsAndTabs) {
  for (const std::size_t size : {1, 7, 8, 17}) {
    for (std::size_t place = 0; place < size * 256; ++place) {
      std::string text(size, place % 2 == 0 ? '~' : '\n');
      const int byte = static_cast<int>(place / size);
      text[place % size] = static_cast<char>(byte);
      const bool plain = (byte >= ' ' && byte < 0x7F) || byte == '\n' || byte == '\t';
      ASSERT_EQ(support::is_plain(text), plain) << size << ' ' << place % size << ' ' << byte;
    }
  }
  EXPECT_TRUE(support::is_plain(""));
}

}  // namespace
