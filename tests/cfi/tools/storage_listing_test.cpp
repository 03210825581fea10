#include "cfi/tools/storage_listing.h"

#include <gtest/gtest.h>

#include "cfi/flat/cfi_storage.h"
#include "inspect/report/storage_listing_text.h"
#include "tests/support/captured.h"
#include "tests/support/container_builder.h"
#include "tests/support/program_runner.h"

namespace {

using namespace VRX::System::CFI;
using test_support::ContainerBuilder;

std::string list(CFI_storage_t root) {
  std::string end;
  support::Console console;
  inspect::StorageListingText text(console);
  const auto run = [&] { cfi_tools::list_storages(CFI_storage_file(root), text); };
  return test_support::captured(console, [&] { end = test_support::escape_of(run); }).out + end;
}

std::string list(const std::string& bytes, const char* options = "R") {
  const test_support::TemporaryFolder folder;
  const OwnedStorage root(CFI_open_storage_file(folder.write("part", bytes), options));
  return list(root.get());
}

/// What stands between the column header and the truncation line.
std::string tree_of(const std::string& listing) {
  const std::size_t start = listing.find("=\n") + 2;
  return listing.substr(start, listing.find("File ", start) - start);
}

TEST(StorageListing, ShowsAFileThatIsReadUpdatedOrWritten) {
  std::string header_copy(452, '\0');
  header_copy[450] = 9;
  const std::string bytes =
      ContainerBuilder().part_header(header_copy).stream("/Root/FastLoad/JT", "jt").bytes();
  const std::string listing = list(bytes);
  const char* const fast_load = "\nFast Load Partition version: 9\nFast Load Partition End: 4098\n";
  EXPECT_NE(listing.find(fast_load), std::string::npos);
  EXPECT_EQ(list(bytes, "W"), listing);

  const test_support::TemporaryFolder folder;
  const OwnedStorage root(CFI_open_storage_file(folder.path() / "new", "N"));
  const OwnedStorage fast(CFI_open_storage(root.get(), "FastLoad", "N"));
  const OwnedStream direct(CFI_open_stream(fast.get(), "Structure", "N"));
  const OwnedStream other(CFI_open_stream(root.get(), "other", "N"));
  CFI__write_to_stream(direct.get(), 5, "first");
  CFI__write_to_stream(other.get(), 3, "abc");
  const std::string written = list(root.get());
  EXPECT_NE(written.find("(file format 6)\nFast Load Partition End: 4101\n"), std::string::npos);
  EXPECT_EQ(
      tree_of(written),
      "Storage FastLoad                                   Header\n"
      "    Stream Structure:                              Header           5       4096 -        4101\n"
      "Stream other:                                      Footer           3          0 -           3\n");
  EXPECT_TRUE(written.ends_with("File does not appear to have been truncated.\n"));
}

TEST(StorageListing, PadsNamesToColumnForty) {
  const std::string forty(40, 'n');
  const std::string deep = "/Root/0/1/2/3/4/5/6/7/8/9";
  const std::pair<std::string, std::string> cases[] = {
      {"/Root/" + forty, "Stream " + forty + ":   Header  "},
      {"/Root/" + forty + "nn", "Stream " + forty + "nn:     Header  "},
      {"/Root/a\x1B", "Stream a\\x1B:" + std::string(35, ' ') + "   Header  "},
      {deep + "/s", std::string(40, ' ') + "Stream s:    Header  "},
      {deep + "/x/s", std::string(44, ' ') + "Stream s:   Header  "},
      {deep + "/x/y/s", std::string(44, ' ') + "Storage y   Header\n"},
      {"/Root/" + forty + "nn/s", "Storage " + forty + "nn     Header\n"},
  };
  for (const auto& [path, line] : cases) {
    const std::string listing = list(ContainerBuilder().no_footer().stream(path, "x").bytes());
    EXPECT_NE(listing.find("\n" + line), std::string::npos) << path << "\n" << listing;
  }
}

TEST(StorageListing, WalksNestedStoragesWithoutRecursion) {
  std::string path = "/Root";
  for (int i = 0; i < 1500; ++i) path += "/n";
  const std::string tree =
      tree_of(list(ContainerBuilder().header_area(4000000).no_footer().stream(path + "/s", "x").bytes()));
  EXPECT_EQ(std::count(tree.begin(), tree.end(), '\n'), 1501);
  EXPECT_NE(tree.find("\n" + std::string(6000, ' ') + "Stream s:"), std::string::npos);
}

}  // namespace
