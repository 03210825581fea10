#include "support/progress.h"

#include <gtest/gtest.h>

using support::progress_text;

TEST(Progress, TextFitsTheTerminal) {
  EXPECT_EQ(progress_text("a.prt", 500'000'000, 1'000'000'000, 2, 80), "a.prt:  50% 250.0 MB/s");
  EXPECT_EQ(progress_text("a.prt", 30'000'000, 10'000'000, 1, 80), "a.prt: 100% 30.0 MB/s");
  EXPECT_EQ(progress_text("a.prt", 0, 0, 0, 80), "a.prt: 100% 0.0 MB/s");
  EXPECT_EQ(progress_text("folder/bracket.prt", 1'000'000, 2'000'000, 1, 26), "racket.prt:  50% 1.0 MB/s");
  EXPECT_EQ(progress_text("Stra\u00DFe.prt", 1'000'000, 2'000'000, 1, 22), "e.prt:  50% 1.0 MB/s");
  EXPECT_EQ(progress_text("a.prt", 1'000'000, 2'000'000, 1, 5), ":  5");
}
