#include "inspect/solid/brepsolid_header.h"

#include <gtest/gtest.h>

#include "inspect/report/brepsolid_directory.h"
#include "inspect/solid/header_keywords.h"
#include "tests/support/part_builder.h"
#include "tests/support/part_session.h"
#include "tests/support/solid_builder.h"

namespace {

using test_support::PartBuilder;
using test_support::PartSession;
using test_support::solid_partition;
using test_support::SolidPlan;

/// A part that holds the partition alone.
PartBuilder part_with(const SolidPlan& solid) {
  PartBuilder part;
  part.order = solid.order;
  part.add({.id = 10, .type = solid.kind, .data = 4, .bytes = solid_partition(solid)});
  return part;
}

struct Extension {
  std::uint16_t version;
  std::uint8_t reference_kind;
  std::uint8_t kept_kind;
  std::uint32_t flags;
  bool wide;
  bool has_second;
};

class BrepsolidExtension : public testing::TestWithParam<Extension> {};

TEST_P(BrepsolidExtension, IsReadInBothByteOrders) {
  const Extension& extension = GetParam();
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    SolidPlan solid{.order = order, .block = {.data = "body"}, .extended = true, .body_tag = -77};
    solid.ext_version = extension.version;
    solid.linked_partition_id = 34;
    solid.reference_kind = extension.reference_kind;
    solid.reference_target = 12;
    solid.listed = {7, 8};
    solid.second = {.data = "second"};
    PartSession session(part_with(solid).build());
    const auto* read = session.read().entry(0).solid.get();
    ASSERT_NE(read, nullptr) << session.output().err;
    EXPECT_EQ(read->bits.body_tag, -77);
    EXPECT_EQ(read->bits.rest_size, 4U);
    EXPECT_EQ(read->bits.second_size, extension.has_second ? 6U : 0U);
    EXPECT_EQ(read->bits.linked_partition_id, extension.version == 6 ? 0 : 34);
    EXPECT_EQ(read->bits.reference_kind, extension.kept_kind);
    EXPECT_EQ(read->bits.wide_sizes, extension.wide);
    EXPECT_EQ(read->flags, extension.flags);
    // The version comes from the text behind the extension: it shows that every field was stepped over.
    EXPECT_EQ(session.file().kernel_version, "32.01.197");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Versions, BrepsolidExtension,
    testing::Values(Extension{1, 0, 0, 0, false, false},
                    Extension{2, 0, 0, inspect::kHasListFlag, false, false},
                    Extension{2, 3, 1, inspect::kReferenceFlag, false, false},
                    Extension{3, 2, 2, inspect::kReferenceFlag | inspect::kPseudoReferenceFlag, false, false},
                    Extension{3, 3, 3, inspect::kReferenceFlag, false, false},
                    Extension{4, 0, 0, inspect::kHasListFlag, false, true},
                    Extension{5, 1, 1, inspect::kReferenceFlag, true, true},
                    Extension{6, 0, 0, 0, false, false}));

TEST(BrepsolidHeader, SkippedValuesHideAReference) {
  SolidPlan solid{.extended = true, .ext_version = 3, .reference_kind = 1, .reference_target = 5};
  solid.skipped = {1, 2, 3};
  PartSession session(part_with(solid).build());
  EXPECT_EQ(session.read().entry(0).solid->flags, inspect::kHasSkippedFlag);
  EXPECT_EQ(session.file().kernel_version, "32.01.197");
}

TEST(BrepsolidHeader, CountsThatDoNotFitEndTheFile) {
  for (const std::int32_t count : {0x7FFFFFFF, 100'000}) {
    SolidPlan solid{.extended = true, .ext_version = 3};
    solid.skip_count = count;
    PartSession skipping(part_with(solid).build());
    EXPECT_NE(skipping.read().output().err.find("unexpected end of file"), std::string::npos);
    EXPECT_EQ(skipping.entry(0).solid, nullptr);
    solid.skip_count = -1;
    solid.list_count = count;
    PartSession listing(part_with(solid).build());
    EXPECT_NE(listing.read().output().err.find("unexpected end of file"), std::string::npos);
  }
}

TEST(BrepsolidHeader, WideDeltaHasNoExtension) {
  SolidPlan solid{.kind = 19, .block = {.data = "delta"}, .wide = true, .extended = true, .ext_version = 1};
  PartSession session(part_with(solid).build());
  const auto& bits = session.read().entry(0).solid->bits;
  EXPECT_TRUE(bits.wide_sizes);
  EXPECT_FALSE(bits.has_extension);
  EXPECT_EQ(bits.header_size, solid.header_text.size());
  EXPECT_EQ(bits.rest_size, 5U);
}

TEST(BrepsolidHeader, TextOf4096BytesIsTheLongest) {
  SolidPlan solid{.header_text = std::string(4095, 'h') + '+', .block = {.data = "body"}};
  PartSession longest(part_with(solid).build());
  EXPECT_EQ(longest.read().entry(0).solid->header_length, 4095U);
  solid.header_text += '+';
  PartSession longer(part_with(solid).build());
  EXPECT_EQ(longer.read().output().err.find("Bad value 4097 for Brepsolid header size") == std::string::npos,
            false);
}

/// Partitions by type and header text; a text of none is no solid, one that starts with '!' lacks its marker.
struct Borrowing {
  const char* what;
  bool has_index;
  std::vector<std::pair<std::int32_t, std::optional<std::string>>> partitions;
  std::string borrowed;
};

TEST(BrepsolidHeader, IsBorrowedFromTheFirstThatHasOne) {
  const Borrowing cases[] = {
      {"behind another", true, {{14, ""}, {9, {}}, {13, "SCH=A_123456_;+"}, {10, "no"}}, "SCH=A_123456_;"},
      {"in front", true, {{14, "first"}, {13, ""}, {10, "no"}}, "first"},
      {"behind one that borrows too", true, {{10, ""}, {10, ""}, {10, "third"}}, "third"},
      {"behind one without a marker", true, {{10, ""}, {10, "!bad"}, {10, "third"}}, "third"},
      {"old data lend nothing", true, {{10, ""}, {2, "old"}}, ""},
      {"directory that comes later", false, {{2, ""}, {10, "later"}}, "later"},
      {"past an unread directory", false, {{10, ""}, {3, {}}, {13, "past"}, {14, "no"}}, "past"},
      {"none in a chain", false, {{10, ""}, {3, {}}, {13, ""}}, ""},
  };
  for (const Borrowing& one : cases) {
    SCOPED_TRACE(one.what);
    PartBuilder part;
    if (!one.has_index) part.units = 0;
    std::optional<std::size_t> borrower;
    std::int32_t number = 0;
    for (const auto& [type, text] : one.partitions) {
      ++number;
      if (text == "" && !borrower) borrower = static_cast<std::size_t>(number - 1);
      test_support::PartitionPlan plan{.id = number, .type = type};
      if (text) plan.bytes = solid_partition({.header_text = *text, .block = {.data = "own"}});
      if (text && text->starts_with('!')) plan.marker = "gone";
      part.add(plan);
    }
    PartSession session(part.build());
    const auto& solid = *session.read().entry(*borrower).solid;
    EXPECT_FALSE(solid.header_saved_here);
    EXPECT_EQ(read_header_text(session.file(), solid, false), one.borrowed);
    EXPECT_EQ(solid.data_position, part.data_offset(*borrower) + 8);
    EXPECT_EQ(session.output().out.find("Can't find") == std::string::npos, !one.borrowed.empty());
  }
}

TEST(BrepsolidHeader, AloneWithoutATextItHasNone) {
  PartSession session(part_with({.header_text = "", .block = {.data = "body"}}).build());
  EXPECT_EQ(session.read().output().out,
            "Can't find a brepsolid header; writing as zero length (should be fine).\n");
  EXPECT_EQ(session.entry(0).solid->header_length, 0U);
  EXPECT_EQ(session.file().kernel_version, "Unknown");
  EXPECT_FALSE(session.file().failed);
}

TEST(BrepsolidHeader, DataBeyondTheFileMarkThePartitionTruncated) {
  SolidPlan solid{.block = {.data = "body"}, .extended = true, .ext_version = 5};
  for (const std::uint64_t size : {std::uint64_t{1} << 31U, std::uint64_t{1} << 32U, ~std::uint64_t{0}}) {
    solid.rest_size = size;
    PartSession session(part_with(solid).build());
    EXPECT_TRUE(session.read().entry(0).truncated);
    EXPECT_NE(session.output().err.find("**** Brepsolid partition id 10 is truncated - size " +
                                        std::to_string(size) + "\n"),
              std::string::npos);
    EXPECT_TRUE(session.file().problems_found);
  }
}

TEST(KernelVersion, ComesFromTheSchemaName) {
  const std::pair<const char*, const char*> cases[] = {
      {"a;SCH=SCH_1200000_12006;", "12.00.000"},
      {"SCH=SCH_123456_1;", "1.23.456"},
      {"SCH=SCH_12345_1;", "Unknown"},
      {"SCH=SCH_1200000_12006", "Unknown"},
      {"SCH=SCH_1200000;", "Unknown"},
      {"SCH SCH=SCH_1200000_1;", "Unknown"},
      {"SCH=1200000;", "Unknown"},
      {"", "Unknown"},
  };
  for (const auto& [text, version] : cases) EXPECT_EQ(inspect::kernel_version_of(text), version) << text;
}

TEST(BrepsolidDirectory, ListsOnlyTheSelectedKind) {
  inspect::InspectOptions options;
  options.print_partition[13] = true;
  PartBuilder part;
  part.add({.id = 10, .type = 10, .bytes = solid_partition({.block = {.data = "body"}})});
  part.add({.id = 21,
            .type = 13,
            .data = -6,
            .bytes = solid_partition({.header_text = "a\x1b+", .block = {.data = "sheet"}})});
  PartSession session(part.build(), options);
  session.read().run([](inspect::InspectFile& file) {
    for (const auto& entry : file.partitions) print_brepsolid_directory(file, entry);
  });
  EXPECT_EQ(session.output().out,
            "\n--------- Contents of Brepsolid directory ----------\nPartition id: -2 (body id 21)\n"
            "Starts at file offset: " +
                std::to_string(part.data_offset(1)) + "\nHeader Size: 2\nFile Size: 5\nHeader:\na\\x1B");
}

}  // namespace
