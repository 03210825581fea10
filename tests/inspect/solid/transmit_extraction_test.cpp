#include "inspect/solid/transmit_extraction.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/files.h"
#include "tests/support/part_builder.h"
#include "tests/support/part_session.h"
#include "tests/support/solid_builder.h"

namespace {

using test_support::PartBuilder;
using test_support::PartSession;
using test_support::read_file;
using test_support::ScratchFolder;
using test_support::solid_partition;
using test_support::SolidPlan;

std::vector<std::string> files_here() {
  std::vector<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(".")) names.push_back(file.path().filename());
  std::ranges::sort(names);
  return names;
}

std::string linked_to(std::int32_t id, std::string data) {
  return solid_partition({.header_text = "h",
                          .block = {.data = std::move(data)},
                          .extended = true,
                          .ext_version = 1,
                          .linked_partition_id = id});
}

struct Naming {
  const char* header;
  const char* part_name;
  const char* output_name;
  std::vector<std::string> files;
  std::int32_t kind;
  bool all;
};

TEST(TransmitNames, FollowKindFormatAndGivenName) {
  const Naming cases[] = {
      {"", "a/b#c\\d.prt", "", {"d_10_source_3.m_b", "d_10_source_3.x_b"}, 10, true},
      {"", "d.prt.prt", "", {"d.m_b", "d.x_b"}, 10, false},
      {"FORMAT=binary;", "d", "", {"d_10_source_3.m_b", "d_10_source_3.x_p"}, 18, true},
      {"FORMAT=text;", "d.prt", "", {"d.m_t", "d.x_t"}, 16, false},
      {"", "d.prt", "out", {"out_10.m_b", "out_source_3_10.x_p"}, 17, true},
      {"", "d.prt", "out", {"out.m_b", "out.x_b"}, 13, false},
      {"", "d.prt", "my.x_b", {"my.x_b", "my.x_b.m_b"}, 13, false},
      {"FORMAT=text;", "d.prt", "out", {"out.m_t", "out.x_t"}, 2, true},
      {"", "d.prt", "my.x_b", {}, 12, true},
      {"FORMAT=neutral;", "d.prt", "", {}, 10, true},
  };
  for (const Naming& naming : cases) {
    SCOPED_TRACE(naming.part_name + std::string(" ") + naming.output_name);
    const ScratchFolder scratch;
    SolidPlan solid{
        .kind = naming.kind, .header_text = naming.header, .block = {.data = "body"}, .extended = true};
    solid.ext_version = 4;
    solid.second = {.data = "second"};
    PartBuilder part;
    part.add({.id = 10, .type = naming.kind, .bytes = solid_partition(solid)});
    inspect::InspectOptions options;
    options.extract_output_name.assign(naming.output_name);
    PartSession session(part.build(), options, naming.part_name);
    session.read().file().sources[10] = 3;
    session.run([&](auto& file) {
      if (naming.all) {
        extract_all_partitions(file);
      } else {
        EXPECT_EQ(extract_partition(file, 10), 10);
      }
    });
    EXPECT_EQ(files_here(), naming.files);
    EXPECT_EQ(session.file().failed, naming.files.empty());
    if (naming.files.empty()) continue;
    EXPECT_EQ(read_file(naming.files[0] == "my.x_b" ? "my.x_b.m_b" : naming.files[0]),
              naming.header + std::string("second"));
  }
}

TEST(TransmitNames, OverlongNameIsRefused) {
  PartBuilder part;
  part.add({.id = 10, .type = 10, .bytes = solid_partition({})});
  inspect::InspectOptions options;
  options.extract_output_name.assign(std::string(3465, 'n'));
  PartSession session(part.build(), options);
  EXPECT_FALSE(session.read().run([](auto& file) { extract_partition(file, 10); }));
  EXPECT_NE(session.output().err.find("buffer size 3469 is too small for source string length 3469"),
            std::string::npos);
}

TEST(TransmitExtraction, FollowsTheLinksAndTellsWhatItReplaces) {
  const ScratchFolder scratch;
  PartBuilder part;
  part.add({.id = 10, .type = 16, .bytes = linked_to(12, "first")});
  part.add({.id = 11, .type = 19, .bytes = linked_to(10, "delta")});
  part.add({.id = 12, .type = 18, .bytes = linked_to(11, "second")});
  PartSession session(part.build());
  session.read().run([](auto& file) { EXPECT_EQ(extract_partition(file, 10), 11); });
  EXPECT_EQ(files_here(), (std::vector<std::string>{"block.x_d", "block.x_p"}));
  EXPECT_EQ(read_file("block.x_p"), "hsecond");
  EXPECT_EQ(read_file("block.x_d"), "delta");
  EXPECT_NE(session.output().err.find("file block.x_p of partition 10 is replaced by partition 12\n"),
            std::string::npos);
  EXPECT_EQ(session.output().out.find("replaced"), std::string::npos);
  EXPECT_FALSE(session.file().failed);
}

TEST(TransmitExtraction, EndsAtALinkBackAndAtALinkToNothing) {
  for (const auto& [link, text] : {std::pair{10, "comes back to id 10"}, {99, "partition with id 99"}}) {
    const ScratchFolder scratch;
    PartBuilder part;
    part.add({.id = 10, .type = 16, .bytes = linked_to(link, "body")});
    PartSession session(part.build());
    session.read().run([](auto& file) { EXPECT_EQ(extract_partition(file, 10), 10); });
    EXPECT_NE(session.output().err.find(text), std::string::npos);
    EXPECT_EQ(read_file("block.x_p"), "hbody");
    EXPECT_TRUE(session.file().failed);
  }
}

TEST(TransmitExtraction, AllWritesBodiesThenDeltasAndSkipsReferences) {
  const ScratchFolder scratch;
  PartBuilder part;
  SolidPlan reference{.extended = true, .ext_version = 3, .reference_kind = 2, .reference_target = 4};
  part.add({.id = 10, .type = 19, .bytes = solid_partition({.kind = 19})});
  part.add({.id = 11, .type = 2, .data = 0, .bytes = "empty"});
  part.add({.id = 12, .type = 10, .bytes = solid_partition(reference)});
  part.add({.id = 13, .type = 14, .bytes = solid_partition({.block = {.data = "tool"}})});
  PartSession session(part.build());
  session.read().run([](auto& file) { EXPECT_TRUE(extract_all_partitions(file)); });
  EXPECT_EQ(files_here(), (std::vector<std::string>{"block_10.x_d", "block_13.x_b"}));
  const std::string& out = session.output().out;
  EXPECT_EQ(out.find("Partition 12 is a pseudo reference partition, and thus does not have a solid body to "
                     "extract. Skipping this partition.\n"),
            0U);
  EXPECT_LT(out.find("Extracted Brepsolid data into file block_13.x_b\n  Brepsolid Version: 32.01.197\n"
                     "  File format: binary\n"),
            out.find("block_10.x_d"));
}

TEST(TransmitExtraction, NeverWritesOverThePart) {
  const ScratchFolder scratch;
  PartBuilder part;
  part.add({.id = 10, .type = 10, .bytes = solid_partition({})});
  test_support::write_file("real.prt", part.build());
  std::filesystem::create_symlink("real.prt", "block.x_b");
  PartSession session(part.build());
  struct stat found = {};
  ASSERT_EQ(stat("real.prt", &found), 0);
  session.file().identity = {found.st_dev, found.st_ino};
  EXPECT_FALSE(session.read().run([](auto& file) { extract_partition(file, 10); }));
  EXPECT_NE(session.output().err.find("can not open output file block.x_b"), std::string::npos);
  EXPECT_EQ(read_file("real.prt"), part.build());
}

TEST(TransmitExtraction, FailedWriteNamesTheFile) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP();
  const ScratchFolder scratch;
  std::filesystem::create_symlink("/dev/full", "block.x_b");
  PartBuilder part;
  part.add({.id = 10, .type = 10, .bytes = solid_partition({.block = {.data = "body"}})});
  PartSession session(part.build());
  EXPECT_FALSE(session.read().run([](auto& file) { extract_partition(file, 10); }));
  EXPECT_NE(session.output().err.find("output file block.x_b: No space left on device\n"), std::string::npos);
  EXPECT_NE(session.output().err.find("write failed\n"), std::string::npos);
}

}  // namespace
