#include "support/plain_format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <optional>
#include <string>

#include "support/text_format.h"

namespace {

[[gnu::format(printf, 2, 3)]] std::optional<std::string> plain(std::size_t room, const char* format, ...) {
  char text[64];
  std::va_list arguments;
  va_start(arguments, format);
  const bool done = support::format_plain(text, room, format, arguments);
  va_end(arguments);
  return done ? std::optional(std::string(text, room)) : std::nullopt;
}

TEST(PlainFormat, WritesWhatPrintfWrites) {
  EXPECT_EQ(plain(64, "no conversion\n"), "no conversion\n");
  EXPECT_EQ(plain(64, "%d %d %u|%s|%%", INT_MIN, 0, UINT_MAX, "x"),
            support::format_text("%d %d %u|%s|%%", INT_MIN, 0, UINT_MAX, "x"));
  EXPECT_EQ(plain(64, "%llu(%lld)", ULLONG_MAX, LLONG_MIN),
            support::format_text("%llu(%lld)", ULLONG_MAX, LLONG_MIN));
}

TEST(PlainFormat, LeavesTheRestToPrintf) {
  EXPECT_EQ(plain(64, "%6d", 1), std::nullopt);
  EXPECT_EQ(plain(64, "%zu", std::size_t{1}), std::nullopt);
  EXPECT_EQ(plain(64, "%s", "\033[2J"), std::nullopt);
  EXPECT_EQ(plain(4, "%d", 12345), std::nullopt);
  EXPECT_EQ(plain(4, "%s", "12345"), std::nullopt);
  EXPECT_EQ(plain(4, "%s", "1234"), "1234");
}

}  // namespace
