#include "cfi/tools/stream_extraction.h"

#include <gtest/gtest.h>

#include "tests/support/captured.h"
#include "tests/support/container_builder.h"
#include "tests/support/program_runner.h"

namespace {

using namespace VRX::System::CFI;

class StreamExtraction : public testing::Test {
 protected:
  std::string extract(const std::string& stream_path, const std::string& output) {
    FileChannel channel(part_);
    const auto file = open_storage_file(channel);
    return test_support::escape_of([&] {
      cfi_tools::extract_stream(*file, {part_, channel.identity(), stream_path, output});
    });
  }

  std::string output_path() const { return folder_.path() / "out"; }

  const std::string big_ = std::string(1'200'000, 'b') + "end";
  test_support::TemporaryFolder folder_;
  std::string part_ = folder_.write("part", test_support::ContainerBuilder()
                                                .stream("/Root/top", "top")
                                                .stream("/Root/a/b/big", big_)
                                                .stream("/Root/a/framed", "LZ4\x01 is copied as it is")
                                                .stream("/Root/a/empty", "")
                                                .bytes());
};

TEST_F(StreamExtraction, CopiesTheStoredBytes) {
  const std::pair<const char*, std::string> cases[] = {
      {"a/b/big", big_}, {"top", "top"}, {"a/framed", "LZ4\x01 is copied as it is"}, {"a/empty", ""}};
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
  const struct {
    const char* name;
    std::string bytes;
    bool refused;
  } outputs[] = {
      {"part2", folder_.read("part"), true},
      {"document", ole, true},
      {"flat.prt", std::string("\x0A\0...", 5), true},
      {"big.prt", std::string("\0\x0C...", 5), true},
      {"cut.PRT", "\x0D\x01", true},
      {"flat.bin", std::string("\x0A\0...", 5), false},
      {"text.prt", "no part", false},
      {"empty.prt", "", false},
  };
  for (const auto& output : outputs) {
    const std::string path = folder_.write(output.name, output.bytes);
    EXPECT_EQ(extract("top", path), output.refused ? refusal + path : "") << output.name;
    EXPECT_EQ(folder_.read(output.name), output.refused ? output.bytes : "top") << output.name;
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
