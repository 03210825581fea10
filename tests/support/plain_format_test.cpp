#include "support/plain_format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <optional>
#include <string>

namespace {

[[gnu::format(printf, 2, 3)]] std::optional<std::string> plain(std::size_t room, const char* format, ...) {
  char text[96];
  std::va_list arguments;
  va_start(arguments, format);
  const bool done = support::format_plain(text, room, format, arguments);
  va_end(arguments);
  return done ? std::optional(std::string(text, room)) : std::nullopt;
}

TEST(PlainFormat, WritesWhatPrintfWritesOrLeavesItToThat) {
  EXPECT_EQ(plain(96, "%d %d %u|%s|%%%llu(%lld)\n", INT_MIN, 0, UINT_MAX, "x", ULLONG_MAX, LLONG_MIN),
            "-2147483648 0 4294967295|x|%18446744073709551615(-9223372036854775808)\n");
  EXPECT_EQ(plain(4, "%s", "1234"), "1234");
  EXPECT_EQ(plain(96, "%6d", 1), std::nullopt);
  EXPECT_EQ(plain(96, "%zu", std::size_t{1}), std::nullopt);
  EXPECT_EQ(plain(96, "%s", "\033[2J"), std::nullopt);
  EXPECT_EQ(plain(4, "%d", 12345), std::nullopt);
  EXPECT_EQ(plain(4, "%s", "12345"), std::nullopt);
}

}  // namespace
