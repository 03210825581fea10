#include "inspect/solid/transmit_extraction.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/part_builder.h"
#include "tests/support/part_session.h"
#include "tests/support/solid_builder.h"

namespace {

using namespace test_support;
using Names = std::vector<std::string>;

bool has(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

Names files_here() {
  Names names;
  for (const auto& file : std::filesystem::directory_iterator(".")) names.push_back(file.path().filename());
  std::ranges::sort(names);
  return names;
}

std::string linked_to(std::int32_t id, std::string data) {
  SolidPlan solid{.header_text = "h", .block = {.data = std::move(data)}, .extended = true, .ext_version = 1};
  solid.linked_partition_id = id;
  return solid_partition(solid);
}

/// The last id of the chain; 0 when an escape ended the extraction.
std::int32_t extract(PartSession& session, std::int32_t id, std::string_view output_name = "") {
  std::int32_t last = 0;
  const inspect::ExtractionRequest request{.output_name = output_name};
  session.run([&](auto& file) { last = extract_partition(file, request, id, session.report()); });
  return last;
}

TEST(TransmitNames, FollowKindFormatAndGivenName) {
  const std::string long_name(3465, 'n');
  struct Case {
    const char* header;
    const char* part_name;
    std::string output_name;
    Names files;
    std::int32_t kind;
    bool all;
    const char* error = "";
  };
  const Case cases[] = {
      {"", "a/b#c\\d.prt", "", {"d_10_source_3.m_b", "d_10_source_3.x_b"}, 10, true},
      {"", "d.prt.prt", "", {"d.m_b", "d.x_b"}, 10, false},
      {"FORMAT=binary;", "d", "", {"d_10_source_3.m_b", "d_10_source_3.x_p"}, 18, true},
      {"FORMAT=text;", "d.prt", "", {"d.m_t", "d.x_t"}, 16, false},
      {"", "d.prt", "out", {"out_10.m_b", "out_source_3_10.x_p"}, 17, true},
      {"", "d.prt", "out", {"out.m_b", "out.x_b"}, 13, false},
      {"", "d.prt", "my.x_b", {"my.x_b", "my.x_b.m_b"}, 13, false},
      {"FORMAT=text;", "d.prt", "out", {"out.m_t", "out.x_t"}, 2, true},
      {"", "d.prt", "my.x_b", {}, 12, true, "output filename must be without extension"},
      {"FORMAT=neutral;", "d.prt", "", {}, 10, true, "Unknown file format"},
      {"", "d", long_name, {}, 10, false, "size 3469 is too small for source string length 3469"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.part_name + (" " + c.output_name));
    const ScratchFolder scratch;
    SolidPlan solid{.kind = c.kind, .header_text = c.header, .block = {.data = "body"}, .extended = true};
    solid.ext_version = 4;
    solid.second = {.data = "second"};
    PartBuilder part;
    part.add({.id = 10, .type = c.kind, .bytes = solid_partition(solid)});
    PartSession session(part.build(), {.name = c.part_name});
    session.read().file().sources[10] = 3;
    if (c.all) {
      session.run([&](auto& file) {
        extract_all_partitions(file, {.output_name = c.output_name}, session.report());
      });
    } else {
      EXPECT_EQ(extract(session, 10, c.output_name), c.files.empty() ? 0 : 10);
    }
    EXPECT_EQ(files_here(), c.files);
    EXPECT_EQ(session.verdict().failed(), c.files.empty());
    EXPECT_TRUE(has(session.output().err, c.error));
    if (c.files.empty()) continue;
    EXPECT_EQ(read_file(c.files[0] == "my.x_b" ? "my.x_b.m_b" : c.files[0]),
              c.header + std::string("second"));
  }
}

TEST(TransmitExtraction, FollowsTheLinksAndTellsWhatItReplaces) {
  const ScratchFolder scratch;
  PartBuilder part;
  part.add({.id = 10, .type = 16, .bytes = linked_to(12, "first")});
  part.add({.id = 11, .type = 19, .bytes = linked_to(10, "delta")});
  part.add({.id = 12, .type = 18, .bytes = linked_to(11, "second")});
  PartSession session(part.build());
  EXPECT_EQ(extract(session.read(), 10), 11);
  EXPECT_EQ(files_here(), (Names{"block.x_d", "block.x_p"}));
  EXPECT_EQ(read_file("block.x_p"), "hsecond");
  EXPECT_EQ(read_file("block.x_d"), "delta");
  EXPECT_TRUE(has(session.output().err, "file block.x_p of partition 10 is replaced by partition 12\n"));
  EXPECT_FALSE(has(session.output().out, "replaced"));
  EXPECT_FALSE(session.verdict().failed());
}

TEST(TransmitExtraction, EndsAtALinkBackAndAtALinkToNothing) {
  for (const auto& [link, text] : {std::pair{10, "comes back to id 10"}, {99, "partition with id 99"}}) {
    const ScratchFolder scratch;
    PartBuilder part;
    part.add({.id = 10, .type = 16, .bytes = linked_to(link, "body")});
    PartSession session(part.build());
    EXPECT_EQ(extract(session.read(), 10), 10);
    EXPECT_TRUE(has(session.output().err, text));
    EXPECT_EQ(read_file("block.x_p"), "hbody");
    EXPECT_TRUE(session.verdict().failed());
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
  session.read().run([&](auto& file) { EXPECT_TRUE(extract_all_partitions(file, {}, session.report())); });
  EXPECT_EQ(files_here(), (Names{"block_10.x_d", "block_13.x_b"}));
  EXPECT_TRUE(
      session.output().out.starts_with("Partition 12 is a pseudo reference partition, and thus does "));
  EXPECT_TRUE(session.output().out.ends_with(
      "block_10.x_d\n  Brepsolid Version: 32.01.197\n  File format: binary\n"));
}

TEST(TransmitExtraction, WhatCannotBeWrittenIsNamedAndThePartStaysAsItIs) {
  const std::pair<const char*, Names> cases[] = {
      {"real.prt", {"can not open output file block.x_b\n"}},
      {"/dev/full", {"output file block.x_b: No space left on device\n", "write failed\n"}}};
  for (const auto& [target, messages] : cases) {
    const ScratchFolder scratch;
    PartBuilder part;
    part.add({.id = 10, .type = 10, .bytes = solid_partition({.block = {.data = "body"}})});
    write_file("real.prt", part.build());
    std::filesystem::create_symlink(target, "block.x_b");
    PartSession session(part.build());
    struct stat found = {};
    ASSERT_EQ(stat("real.prt", &found), 0);
    session.file().identity = {found.st_dev, found.st_ino};
    EXPECT_EQ(extract(session.read(), 10), 0);
    for (const std::string& message : messages) EXPECT_TRUE(has(session.output().err, message));
    EXPECT_EQ(read_file("real.prt"), part.build());
  }
}

}  // namespace
