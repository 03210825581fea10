#include "cfi/kvpm/header_paths.h"

#include <gtest/gtest.h>

#include "tests/support/captured.h"

using namespace VRX::System::CFI;

TEST(HeaderPaths, DifferByVersion) {
  const HeaderPaths& paths = HeaderPaths::standard();
  EXPECT_EQ(paths.of(0).size(), 15U);
  EXPECT_EQ(paths.of(4).size(), 15U);
  EXPECT_EQ(paths.of(5).size(), 20U);
  EXPECT_FALSE(paths.contains(4, "/Root/DFA"));
  EXPECT_TRUE(paths.contains(6, "/Root/DFA"));
  EXPECT_EQ(test_support::escape_of([&] { (void)paths.of(7); }),
            "1021253 Failed to initialize header-paths for version 7");
}
