#include "inspect/sections/jt_bodies.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "cfi/expanded_source.h"
#include "tests/support/files.h"
#include "tests/support/lz4_frame.h"
#include "tests/support/part_session.h"
#include "tests/support/record_bytes.h"

namespace {

using namespace test_support;

struct Body {
  std::uint64_t id;
  std::string bytes;
  std::optional<std::uint64_t> listed_offset = {};
};

std::string jt_stream(std::int32_t version, const std::vector<Body>& bodies, std::uint32_t partitions = 0) {
  const bool wide = version == 9;
  RecordBytes out(std::endian::little);
  out.u32(field(version)).u32(bodies.size());
  if (version > 7) out.u32(partitions);
  std::uint64_t offset = out.size() + bodies.size() * (wide ? 16 : 8);
  for (const Body& body : bodies) {
    for (const std::uint64_t number : {body.id, body.listed_offset.value_or(offset)})
      wide ? out.u64(number) : out.u32(number);
    offset += body.bytes.size();
  }
  for (const Body& body : bodies) out.raw(body.bytes);
  return out.bytes();
}

bool has(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

/// Lists the bodies of streams of one part, and extracts them into the current folder.
struct JtRun {
  std::string list(support::ByteSource& source, const char* name = "JT") {
    session.run([&](auto& file) { inspect::read_jt_bodies(file, source, name, session.report(), &written); });
    return session.output().out;
  }

  std::string list(const std::string& stream, const char* name = "JT") {
    support::MemorySource source(std::as_bytes(std::span(stream)));
    return list(source, name);
  }

  const std::string& errors() const { return session.output().err; }

  PartSession session{"", {.name = "a.prt"}};
  inspect::WrittenBodies written = {};
};

std::string written(const std::string& name) {
  return std::filesystem::exists(name) ? read_file(name) : "(none)";
}

TEST(JtBodies, ListsAndWritesEachBody) {
  const ScratchFolder scratch;
  JtRun jt;
  const std::string big(3'000'001, 'B');
  const std::string titles = "   Id  Offset\n   --  ------\n";
  EXPECT_EQ(jt.list(jt_stream(7, {{1, "one"}, {4294967295, big}})),
            "Part contains 2 JT bodies in the JT stream:\n" + titles + " 1 24\n 4294967295 27\n\n");
  EXPECT_EQ(written("jt_1.jt"), "one");
  EXPECT_TRUE(written("jt_-1.jt") == big);
  EXPECT_EQ(jt.list(jt_stream(8, {{7, ""}, {8, "eight"}}, 3), "DisplayJT"),
            "Part contains 3 JT BodyPartition objects\nPart contains 2 JT bodies in the DisplayJT stream:\n" +
                titles + " 7 28\n 8 28\n\n");
  EXPECT_EQ(written("d_jt_7.jt"), "");
  EXPECT_EQ(written("d_jt_8.jt"), "eight");
  EXPECT_EQ(jt.list(jt_stream(9, {{0x500000002, "first, longer"}, {2, "later"}})),
            "Part contains 2 JT bodies in the JT stream:\n" + titles + " 21474836482 44\n 2 57\n\n");
  EXPECT_EQ(written("jt_2.jt"), "later");
  EXPECT_EQ(jt.list(jt_stream(9, {})), "Part contains 0 JT bodies in the JT stream:\n" + titles + "\n");
  EXPECT_FALSE(jt.session.verdict().failed()) << jt.errors();
}

TEST(JtBodies, WritesTheSoundOnesAmongDamagedOffsets) {
  const std::tuple<const char*, std::size_t, std::uint64_t, std::vector<std::string>> cases[] = {
      {"far outside", 1, 1ULL << 63U, {"firstsecondthirdlast", "(none)", "third", "last"}},
      {"before the table", 1, 0, {"(none)", "(none)", "third", "last"}},
      {"last one outside", 3, 5000, {"first", "second", "thirdlast", "(none)"}},
      {"first one outside", 0, UINT64_MAX, {"(none)", "second", "third", "last"}}};
  for (const auto& [what, number, offset, files] : cases) {
    const ScratchFolder scratch;
    JtRun jt;
    std::vector<Body> bodies = {{1, "first"}, {2, "second"}, {3, "third"}, {4, "last"}};
    bodies[number].listed_offset = offset;
    jt.list(jt_stream(9, bodies));
    EXPECT_TRUE(has(jt.errors(), "impossible extent")) << what;
    for (std::size_t i = 0; i < bodies.size(); ++i) {
      EXPECT_EQ(written("jt_" + std::to_string(i + 1) + ".jt"), files[i]) << what << ", body " << i + 1;
    }
  }
}

TEST(JtBodies, BodiesThatGoBackAndForthAreNotCopiedWithoutEnd) {
  const ScratchFolder scratch;
  constexpr std::size_t kBodies = 200;
  constexpr std::size_t kTableEnd = 12 + 16 * kBodies;
  constexpr std::size_t kSize = kTableEnd + kBodies - 1 + 10000;
  const std::pair<std::uint64_t, std::uint64_t> offsets[] = {{kTableEnd, 10000}, {kSize, UINT64_MAX}};
  for (const auto& [even, odd] : offsets) {
    JtRun jt;
    std::vector<Body> bodies(kBodies, Body{7, "x"});
    bodies.back().bytes.assign(10000, 'y');
    for (std::size_t i = 0; i < kBodies; ++i) bodies[i].listed_offset = i % 2 == 0 ? even : odd;
    jt.list(jt_stream(9, bodies));
    EXPECT_TRUE(has(jt.errors(), "JT bodies in the JT stream overlap")) << jt.errors();
    EXPECT_TRUE(jt.session.verdict().failed());
  }
}

TEST(JtBodies, NamesWhatIsReplacedAndCountsWhatIsTooMuch) {
  const ScratchFolder scratch;
  JtRun jt;
  jt.list(jt_stream(9, {{1, "one"}, {0x100000001, "other"}}));
  EXPECT_EQ(jt.errors(),
            "vr_inspect: file jt_1.jt of JT body 1 of a.prt is replaced by JT body 4294967297\n");
  EXPECT_EQ(written("jt_1.jt"), "other");
  jt.session.file().name = "b.prt";
  jt.list(jt_stream(9, {{1, "third"}}));
  EXPECT_TRUE(has(jt.errors(), "of JT body 4294967297 of a.prt is replaced")) << jt.errors();
  EXPECT_FALSE(jt.session.verdict().failed());

  jt.list(jt_stream(9, std::vector<Body>(30, {2, "", UINT64_MAX})));
  EXPECT_TRUE(has(jt.errors(), "20 more JT bodies in the JT stream have an impossible extent"));
  EXPECT_EQ(std::ranges::count(jt.errors(), '\n'), 22);
  jt.list(jt_stream(7, std::vector<Body>(1200, {3, ""})));
  EXPECT_TRUE(has(jt.errors(), "JT bodies in the JT stream are too many"));
}

TEST(JtBodies, WhatCannotBeWrittenDoesNotKeepTheOthersBack) {
  const ScratchFolder scratch;
  std::filesystem::create_directory("jt_1.jt");
  std::filesystem::create_symlink("/dev/full", "jt_2.jt");
  std::filesystem::create_symlink("a.prt", "jt_3.jt");
  write_file("a.prt", "the part");
  struct stat found = {};
  ASSERT_EQ(::stat("a.prt", &found), 0);
  JtRun jt;
  jt.session.file().identity = {found.st_dev, found.st_ino};
  jt.list(jt_stream(8, {{1, "one"}, {2, "two"}, {3, "three"}, {4, "four"}}));
  for (const char* text :
       {"could not open jt_1.jt\n", "write failed\n", "can not open output file jt_3.jt\n"}) {
    EXPECT_TRUE(has(jt.errors(), text)) << text;
  }
  EXPECT_EQ(written("a.prt"), "the part");
  EXPECT_EQ(written("jt_4.jt"), "four");
  EXPECT_TRUE(jt.session.verdict().failed());
}

TEST(JtBodies, ATableThatIsNotThereWholeIsReported) {
  const ScratchFolder scratch;
  const std::string whole = jt_stream(9, {{5, "five"}});
  for (std::size_t length = 0; length < whole.size() - 4; ++length) {
    JtRun jt;
    jt.list(whole.substr(0, length));
    EXPECT_TRUE(jt.session.verdict().failed()) << "cut to " << length;
  }
  JtRun jt;
  jt.list(jt_stream(9, {}).replace(4, 4, "\xFF\xFF\xFF\xFF"));
  EXPECT_TRUE(has(jt.errors(), "table of 4294967295 JT bodies")) << jt.errors();
}

TEST(JtBodies, CountsExpandedBytesOfAFramedStream) {
  const std::string body(200'000, 'x');
  const std::string whole = lz4_frame(jt_stream(9, {{1, "one"}, {2, body}}));
  for (const bool cut : {false, true}) {
    const ScratchFolder scratch;
    JtRun jt;
    const std::string frame = whole.substr(0, whole.size() - (cut ? 1 : 0));
    support::MemorySource inner(std::as_bytes(std::span(frame)));
    VRX::System::CFI::ExpandedSource expanded(inner, "JT");
    jt.session.file().disk_length = frame.size();
    EXPECT_TRUE(has(jt.list(expanded), " 2 "));
    EXPECT_EQ(has(jt.errors(), "compressed stream JT ends with status 1020023"), cut) << jt.errors();
    EXPECT_EQ(jt.session.verdict().failed(), cut);
    const std::string part = written("jt_2.jt");
    EXPECT_TRUE(body.starts_with(part));
    EXPECT_EQ(part.size() == body.size(), !cut);
    EXPECT_GT(part.size(), 100'000U);
  }
}

}  // namespace
