#include "inspect/solid/brepsolid_header.h"

#include <gtest/gtest.h>

#include "inspect/solid/header_keywords.h"
#include "tests/support/part_builder.h"
#include "tests/support/part_session.h"
#include "tests/support/solid_builder.h"

namespace {

using namespace test_support;

/// A part that holds the partition alone.
std::string part_with(const SolidPlan& solid) {
  PartBuilder part;
  part.order = solid.order;
  part.add({.id = 10, .type = solid.kind, .data = 4, .bytes = solid_partition(solid)});
  return part.build();
}

bool has(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

TEST(BrepsolidHeader, ExtensionsAreReadInBothByteOrders) {
  using namespace inspect;
  struct Case {
    std::uint16_t version;
    std::uint8_t reference_kind, kept_kind;
    std::uint32_t flags;
    bool wide = false, has_second = false;
    std::vector<std::int32_t> skipped = {};
  };
  const Case cases[] = {{1, 0, 0, 0},
                        {2, 0, 0, kHasListFlag},
                        {2, 3, 1, kReferenceFlag},
                        {3, 2, 2, kReferenceFlag | kPseudoReferenceFlag},
                        {3, 3, 3, kReferenceFlag},
                        {3, 1, 1, kHasSkippedFlag, false, false, {1, 2, 3}},
                        {4, 0, 0, kHasListFlag, false, true},
                        {5, 1, 1, kReferenceFlag, true, true},
                        {6, 0, 0, 0}};
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    for (const Case& c : cases) {
      SolidPlan solid{.order = order, .block = {.data = "body"}, .extended = true, .body_tag = -77};
      solid.ext_version = c.version;
      solid.linked_partition_id = 34;
      solid.reference_kind = c.reference_kind;
      solid.reference_target = 12;
      solid.skipped = c.skipped;
      solid.listed = {7, 8};
      solid.second = {.data = "second"};
      PartSession session(part_with(solid));
      const auto* read = session.read().entry(0).solid.get();
      ASSERT_NE(read, nullptr) << session.output().err;
      EXPECT_EQ(read->bits.body_tag, -77);
      EXPECT_EQ(read->bits.rest_size, 4U);
      EXPECT_EQ(read->bits.second_size, c.has_second ? 6U : 0U);
      EXPECT_EQ(read->bits.linked_partition_id, c.version == 6 ? 0 : 34);
      EXPECT_EQ(read->bits.reference_kind, c.kept_kind);
      EXPECT_EQ(read->bits.wide_sizes, c.wide);
      EXPECT_EQ(read->flags, c.flags);
      // The version comes from the text behind the extension: it shows that every field was stepped over.
      EXPECT_EQ(session.file().records.kernel_version, "32.01.197");
    }
  }
}

TEST(BrepsolidHeader, CountsThatDoNotFitEndTheFile) {
  for (const std::int32_t count : {0x7FFFFFFF, 100'000}) {
    for (const bool skips : {true, false}) {
      SolidPlan solid{.extended = true, .ext_version = 3};
      solid.skip_count = skips ? count : -1;
      if (!skips) solid.list_count = count;
      PartSession session(part_with(solid));
      EXPECT_TRUE(has(session.read().output().err, "unexpected end of file"));
      EXPECT_EQ(session.entry(0).solid, nullptr);
    }
  }
}

TEST(BrepsolidHeader, WideDeltaHasNoExtension) {
  const SolidPlan solid{
      .kind = 19, .block = {.data = "delta"}, .wide = true, .extended = true, .ext_version = 1};
  PartSession session(part_with(solid));
  EXPECT_TRUE(session.read().entry(0).solid->bits.wide_sizes);
  EXPECT_FALSE(session.entry(0).solid->bits.has_extension);
  EXPECT_EQ(session.entry(0).solid->bits.rest_size, 5U);
  EXPECT_EQ(session.file().records.kernel_version, "32.01.197");
}

TEST(BrepsolidHeader, TextOf4096BytesIsTheLongest) {
  SolidPlan solid{.header_text = std::string(4095, 'h') + '+', .block = {.data = "body"}};
  PartSession longest(part_with(solid));
  EXPECT_EQ(longest.read().entry(0).solid->header_length, 4095U);
  solid.header_text += '+';
  PartSession longer(part_with(solid));
  EXPECT_TRUE(has(longer.read().output().err, "Bad value 4097 for Brepsolid header size"));
}

TEST(BrepsolidHeader, IsBorrowedFromTheFirstThatHasOne) {
  /// Partitions by type and header text; a text of none is no solid, one that starts with '!' lacks its
  /// marker.
  using Partitions = std::vector<std::pair<std::int32_t, std::optional<std::string>>>;
  const std::tuple<const char*, bool, Partitions, std::string> cases[] = {
      {"behind another", true, {{14, ""}, {9, {}}, {13, "SCH=A_123456_;+"}, {10, "no"}}, "SCH=A_123456_;"},
      {"in front", true, {{14, "first"}, {13, ""}, {10, "no"}}, "first"},
      {"behind one that borrows too", true, {{10, ""}, {10, ""}, {10, "third"}}, "third"},
      {"behind one without a marker", true, {{10, ""}, {10, "!bad"}, {10, "third"}}, "third"},
      {"old data lend nothing", true, {{10, ""}, {2, "old"}}, ""},
      {"alone", true, {{10, ""}}, ""},
      {"directory that comes later", false, {{2, ""}, {10, "later"}}, "later"},
      {"past an unread directory", false, {{10, ""}, {3, {}}, {13, "past"}, {14, "no"}}, "past"},
      {"none in a chain", false, {{10, ""}, {3, {}}, {13, ""}}, ""}};
  for (const auto& [what, has_index, partitions, borrowed] : cases) {
    SCOPED_TRACE(what);
    PartBuilder part;
    if (!has_index) part.units = 0;
    std::optional<std::size_t> borrower;
    std::int32_t number = 0;
    for (const auto& [type, text] : partitions) {
      ++number;
      if (text == "" && !borrower) borrower = static_cast<std::size_t>(number - 1);
      PartitionPlan plan{.id = number, .type = type};
      if (text) plan.bytes = solid_partition({.header_text = *text, .block = {.data = "own"}});
      if (text && text->starts_with('!')) plan.marker = "gone";
      part.add(plan);
    }
    PartSession session(part.build());
    const auto& solid = *session.read().entry(*borrower).solid;
    EXPECT_FALSE(solid.header_saved_here);
    EXPECT_EQ(solid.data_position, part.data_offset(*borrower) + 8);
    EXPECT_EQ(has(session.output().out,
                  "Can't find a brepsolid header; writing as zero length (should be fine).\n"),
              borrowed.empty());
    EXPECT_EQ(session.verdict().failed(), has(what, "without a marker"));
    EXPECT_EQ(read_header_text(session.file(), solid), borrowed);
  }
}

TEST(BrepsolidHeader, DataBeyondTheFileMarkThePartitionTruncated) {
  SolidPlan solid{.block = {.data = "body"}, .extended = true, .ext_version = 5};
  PartSession sound(part_with(solid));
  const std::uint64_t left = sound.read().file().records.length - sound.entry(0).base;
  for (const std::uint64_t size : {left, left + 1, std::uint64_t{1} << 32U, ~std::uint64_t{0}}) {
    solid.rest_size = size;
    PartSession session(part_with(solid));
    EXPECT_EQ(session.read().entry(0).truncated, size > left);
    EXPECT_EQ(has(session.output().err,
                  "**** Brepsolid partition id 10 is truncated - size " + std::to_string(size) + "\n"),
              size > left);
    EXPECT_EQ(session.verdict().has_problems(), size > left);
  }
}

TEST(KernelVersion, ComesFromTheSchemaName) {
  EXPECT_EQ(inspect::kernel_version_of("a;SCH=SCH_1200000_12006;"), "12.00.000");
  EXPECT_EQ(inspect::kernel_version_of("SCH=SCH_123456_1;"), "1.23.456");
  for (const char* text : {"SCH=SCH_12345_1;", "SCH=SCH_1200000_12006", "SCH=SCH_1200000;",
                           "SCH SCH=SCH_1200000_1;", "SCH=1200000;", ""})
    EXPECT_EQ(inspect::kernel_version_of(text), "Unknown") << text;
}

}  // namespace
