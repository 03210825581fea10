#include "cfi/tools/stream_extraction.h"

#include <gtest/gtest.h>

#include "tests/support/captured.h"
#include "tests/support/container_builder.h"
#include "tests/support/program_runner.h"

namespace {

using namespace VRX::System::CFI;

constexpr char kFramed[] = "LZ4\x01 is copied as it is";

class StreamExtraction : public testing::Test {
 protected:
  std::string extract(const std::string& stream_path, const std::string& output) {
    FileChannel channel(part_);
    const auto file = open_storage_file(channel);
    return test_support::escape_of([&] {
      cfi_tools::extract_stream(*file, {&console_, part_, channel.identity(), stream_path, output});
    });
  }

  std::string output_path() const { return folder_.path() / "out"; }

  const std::string big_ = std::string(1'200'000, 'b') + "end";
  support::Console console_;
  test_support::TemporaryFolder folder_;
  test_support::ContainerBuilder builder_;
  std::string part_ = folder_.write("part", builder_.stream("/Root/top", "top")
                                                .stream("/Root/a/b/big", big_)
                                                .stream("/Root/a/framed", kFramed)
                                                .stream("/Root/a/empty", "")
                                                .bytes());
};

TEST_F(StreamExtraction, CopiesTheStoredBytes) {
  const std::pair<const char*, std::string> cases[] = {
      {"a/b/big", big_}, {"top", "top"}, {"a/framed", kFramed}, {"a/empty", ""}};
  for (const auto& [path, content] : cases) {
    EXPECT_EQ(extract(path, output_path()), "") << path;
    EXPECT_TRUE(folder_.read("out") == content) << path;
  }
}

TEST_F(StreamExtraction, RefusesWhatCannotBe) {
  for (const char* path : {"", "/top", "a//framed", "a/", "a", "nope", "top/x", "Root/top"}) {
    EXPECT_NE(extract(path, output_path()), "") << path;
    EXPECT_FALSE(folder_.has("out")) << path;
  }
  // What begins like a part is one by its container's signature, or by its name.
  const std::string refusal = "641001 can not open output file ";
  const std::string ole = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1 and more";
  const std::string flat("\x0A\0...", 5);
  const std::string flat_big("\0\x0C...", 5);
  const std::tuple<const char*, std::string, bool> outputs[] = {
      {"part2", folder_.read("part"), true}, {"document", ole, true},       {"flat.prt", flat, true},
      {"big.prt", flat_big, true},           {"cut.PRT", "\x0D\x01", true}, {"flat.bin", flat, false},
      {"text.prt", "no part", false},        {"empty.prt", "", false}};
  for (const auto& [name, bytes, refused] : outputs) {
    const std::string path = folder_.write(name, bytes);
    EXPECT_EQ(extract("top", path), refused ? refusal + path : "") << name;
    EXPECT_EQ(folder_.read(name), refused ? bytes : "top") << name;
  }
  std::filesystem::create_symlink("flat.prt", folder_.path() / "alias");
  EXPECT_NE(extract("top", folder_.path() / "alias"), "");
  const std::string link = folder_.path() / "link";
  std::filesystem::create_hard_link(part_, link);
  const std::string before = folder_.read("part");
  EXPECT_EQ(extract("top", link), refusal + link);
  EXPECT_TRUE(folder_.read("part") == before);
  EXPECT_EQ(extract("top", "/nonexistent/out"), "641001 can not open /nonexistent/out\n");
  EXPECT_EQ(extract("top", "/dev/full"), "641001 write failed");
}

}  // namespace
