#include "cfi/kvpm/header_paths.h"

#include <gtest/gtest.h>

#include <string>

#include "cfi/cfi_error_codes.h"

using namespace VRX::System::CFI;

namespace {

std::string failure_of_insert(HeaderPaths& paths, int version) {
  static constexpr HeaderPath kTable[] = {{"/Root", 999}};
  try {
    paths.insert(version, kTable);
    return "";
  } catch (const support::ErrorEscape& escape) {
    return std::to_string(escape.code()) + " " + escape.message();
  }
}

}  // namespace

TEST(HeaderPaths, DifferByVersion) {
  const HeaderPaths& paths = HeaderPaths::standard();
  EXPECT_EQ(paths.of(0).size(), 15U);
  EXPECT_EQ(paths.of(4).size(), 15U);
  EXPECT_EQ(paths.of(5).size(), 20U);
  EXPECT_FALSE(paths.contains(4, "/Root/DFA"));
  EXPECT_TRUE(paths.contains(6, "/Root/DFA"));
}

TEST(HeaderPaths, TakesOneTableForEachKnownVersion) {
  HeaderPaths paths;
  EXPECT_EQ(failure_of_insert(paths, 6), "");
  EXPECT_EQ(failure_of_insert(paths, 6),
            "1021253 Attempt to insert duplicate header-paths for file format version 6");
  EXPECT_EQ(failure_of_insert(paths, 7), "1021253 Failed to initialize header-paths for version 7");
  EXPECT_EQ(failure_of_insert(paths, -1), "1021253 Failed to initialize header-paths for version -1");
}
