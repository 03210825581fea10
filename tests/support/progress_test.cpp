#include "support/progress.h"

#include <gtest/gtest.h>

namespace {

TEST(Progress, TextFitsTheTerminal) {
  struct Case {
    const char* what;
    const char* file;
    std::uint64_t done;
    std::uint64_t total;
    double seconds;
    std::size_t columns;
    const char* text;
  };
  const Case cases[] = {
      {"half way", "a.prt", 500'000'000, 1'000'000'000, 2, 80, "a.prt:  50% 250.0 MB/s"},
      {"more than announced", "a.prt", 30'000'000, 10'000'000, 1, 80, "a.prt: 100% 30.0 MB/s"},
      {"nothing announced", "a.prt", 0, 0, 0, 80, "a.prt: 100% 0.0 MB/s"},
      {"a long name keeps its end", "folder/bracket.prt", 1'000'000, 2'000'000, 1, 26,
       "racket.prt:  50% 1.0 MB/s"},
      {"no character is split",
       "Stra\xC3\x9F"
       "e.prt",
       1'000'000, 2'000'000, 1, 22, "e.prt:  50% 1.0 MB/s"},
      {"no room for a name", "a.prt", 1'000'000, 2'000'000, 1, 5, ":  5"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(support::progress_text(c.file, c.done, c.total, c.seconds, c.columns), c.text) << c.what;
  }
}

}  // namespace
