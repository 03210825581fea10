#include "cfi/tools/storage_listing.h"

#include <gtest/gtest.h>

#include "cfi/flat/cfi_storage.h"
#include "inspect/report/storage_listing_text.h"
#include "support/error_escape.h"
#include "tests/support/captured.h"
#include "tests/support/container_builder.h"
#include "tests/support/program_runner.h"

namespace {

using namespace VRX::System::CFI;
using test_support::ContainerBuilder;
using test_support::ContainerDamage;

std::string list(CFI_storage_t root) {
  std::string end;
  const auto output = test_support::captured([&] {
    try {
      inspect::StorageListingText text;
      cfi_tools::list_storages(CFI_storage_file(root), text);
    } catch (const support::ErrorEscape& escape) {
      end = "!" + std::to_string(escape.code());
    }
  });
  return output.out + end;
}

std::string list(const std::string& bytes, const char* options = "R") {
  const test_support::TemporaryFolder folder;
  const OwnedStorage root(CFI_open_storage_file(folder.write("part", bytes), options));
  return list(root.get());
}

const std::string kColumns =
    "                                                                 Size         Offset Range     \n"
    "===============================================================================================\n";

/// What stands between the column header and the truncation line.
std::string tree_of(const std::string& listing) {
  const std::size_t start = listing.find(kColumns) + kColumns.size();
  return listing.substr(start, listing.find("File ", start) - start);
}

TEST(StorageListing, ShowsKindHeaderAndEachElement) {
  std::string header_copy(452, '\0');
  header_copy[450] = 9;
  ContainerBuilder builder;
  builder.header_area(1000).part_header(header_copy);
  builder.stream("/Root/FastLoad/JT", std::string(40, 'j')).stream("/Root/big", std::string(123456, 'b'));
  const std::string expected =
      "-------- Structured Storage Summary ------------\n"
      "Uses KVPM storage (file format 6)\nFast Load Partition version: 9\nFast Load Partition End: 1040\n" +
      kColumns +
      "Storage FastLoad                                   Header\n"
      "    Stream JT:                                     Header          40       1000 -        1040\n"
      "Stream big:                                        Footer      123456       1040 -      124496\n"
      "File does not appear to have been truncated.\n";
  for (const char* options : {"R", "W"}) EXPECT_EQ(list(builder.bytes(), options), expected) << options;
}

TEST(StorageListing, ShowsAFileThatIsBeingWritten) {
  const test_support::TemporaryFolder folder;
  const OwnedStorage root(CFI_open_storage_file(folder.path() / "new", "N"));
  const OwnedStorage fast(CFI_open_storage(root.get(), "FastLoad", "N"));
  const OwnedStream direct(CFI_open_stream(fast.get(), "Structure", "N"));
  const OwnedStream other(CFI_open_stream(root.get(), "other", "N"));
  CFI__write_to_stream(direct.get(), 5, "first");
  CFI__write_to_stream(other.get(), 3, "abc");
  EXPECT_EQ(
      list(root.get()),
      "-------- Structured Storage Summary ------------\n"
      "Uses KVPM storage (file format 6)\nFast Load Partition End: 4101\n" +
          kColumns +
          "Storage FastLoad                                   Header\n"
          "    Stream Structure:                              Header           5       4096 -        4101\n"
          "Stream other:                                      Footer           3          0 -           3\n"
          "File does not appear to have been truncated.\n");
}

TEST(StorageListing, PadsNamesToColumnForty) {
  const std::string forty(40, 'n');
  const std::string deep = "/Root" + [] {
    std::string path;
    for (int i = 0; i < 10; ++i) path += "/" + std::to_string(i);
    return path;
  }();
  const struct {
    const char* what;
    std::string path;
    std::string line;
  } cases[] = {
      {"fills the columns", "/Root/" + forty, "Stream " + forty + ":   Header  "},
      {"too long: padded by the excess", "/Root/" + forty + "nn", "Stream " + forty + "nn:     Header  "},
      {"escaped", "/Root/a\x1B", "Stream a\\x1B:" + std::string(35, ' ') + "   Header  "},
      {"at column 40", deep + "/s", std::string(40, ' ') + "Stream s:    Header  "},
      {"behind column 40", deep + "/x/s", std::string(44, ' ') + "Stream s:   Header  "},
      {"storage behind column 40", deep + "/x/y/s", std::string(44, ' ') + "Storage y   Header\n"},
      {"storage name too long", "/Root/" + forty + "nn/s", "Storage " + forty + "nn     Header\n"},
  };
  for (const auto& c : cases) {
    const std::string listing = list(ContainerBuilder().no_footer().stream(c.path, "x").bytes());
    EXPECT_NE(listing.find("\n" + c.line), std::string::npos) << c.what << "\n" << listing;
  }
}

TEST(StorageListing, ShowsWhatIsReadableOfADamagedFile) {
  const std::string sound =
      ContainerBuilder().stream("/Root/FastLoad/JT", "jt").stream("/Root/other", "other").bytes();
  const std::string bad_footer = list(ContainerDamage(sound).wrong_checksum(IndexArea::footer).bytes());
  EXPECT_NE(bad_footer.find("Stream JT"), std::string::npos);
  EXPECT_TRUE(bad_footer.ends_with("File does not appear to have been truncated.\n!1021501")) << bad_footer;
  const std::string cut = list(sound.substr(0, sound.size() - 5));
  EXPECT_NE(cut.find("Stream JT"), std::string::npos);
  EXPECT_NE(cut.find("File appears to have been truncated.\n!"), std::string::npos) << cut;
}

TEST(StorageListing, WalksNestedStoragesWithoutRecursion) {
  std::string path = "/Root";
  for (int i = 0; i < 1500; ++i) path += "/n";
  const std::string tree =
      tree_of(list(ContainerBuilder().header_area(4000000).no_footer().stream(path + "/s", "x").bytes()));
  EXPECT_EQ(std::count(tree.begin(), tree.end(), '\n'), 1501);
  EXPECT_NE(tree.find("\n" + std::string(6000, ' ') + "Stream s:"), std::string::npos);
}

TEST(StorageListing, ShowsCompoundFiles) {
  const std::string listing = list(test_support::read_file(test_support::sample("gearbox.prt")));
  EXPECT_TRUE(
      listing.starts_with("-------- Structured Storage Summary ------------\nUses Microsoft storage\n"
                          "Storage part \n    Storage attrs \n        Stream user: 2151 bytes\n"
                          "Storage images \n"))
      << listing;
  EXPECT_TRUE(
      listing.ends_with("    Stream meta.xml: 54 bytes\nFile does not appear to have been truncated.\n"));
}

}  // namespace
