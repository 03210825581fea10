#include "inspect/partition_selection.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "tests/support/object_builder.h"
#include "tests/support/part_session.h"

namespace {

using namespace test_support;

std::size_t occurrences(const std::string& text, const std::string& wanted) {
  std::size_t count = 0;
  for (std::size_t at = text.find(wanted); at != std::string::npos; at = text.find(wanted, at + 1)) ++count;
  return count;
}

/// All partitions, or what one switch alone asks for.
std::string listings_of(PartSession& session, bool inspect::InspectOptions::*only = nullptr) {
  inspect::InspectOptions options;
  options.print_partition.fill(only == nullptr);
  if (only != nullptr) options.*only = true;
  session.run([&](inspect::InspectFile& file) { list_selected_partitions(file, options, session.report()); });
  return session.output().out;
}

TEST(PartitionSelection, DamageEndsTheListings) {
  setenv("TZ", "UTC", 1);
  tzset();
  ObjectPlan bad;
  bad.stored_audit_class = 9;
  ObjectPlan sound;
  sound.programs[0].saves[0].user_name = "t\x1b[2Jx";
  ObjectPlan not_om;
  not_om.intro = "XX\1\2\3\4\5";
  PartBuilder part;
  part.add(object_partition(8, 6, sound)).add(object_partition(9, 3, not_om));
  part.add(object_partition(10, 7, bad)).add(object_partition(11, 7, sound));
  PartSession session(part.build());
  const std::string out = listings_of(session.read_list());
  EXPECT_TRUE(session.verdict().failed());
  EXPECT_EQ(out.find("Partition id: 11\n"), std::string::npos);
  for (const char* piece :
       {"Expected audit class index 5 but found 9",
        "\n--------- Contents of Occurrence directory ----------\nPartition id: 8\n",
        "    Tue Nov 14 22:13:20 2023  t\\x1B[2Jx         version    12  machine type     9\n",
        "Directory CMOD 9 is expected to be in OM format but is not.\n"
        "This will be true for pre-Phase 6 V10 parts\n"}) {
    EXPECT_NE(out.find(piece), std::string::npos) << piece;
  }
}

TEST(PartitionSelection, CookiesAloneShowTheAuditTrailsWithALongTextWholeOnce) {
  ObjectPlan plan;
  plan.shared_strings = {std::string(30000, 'u')};
  plan.programs[0].saves.assign(100, {.shared_user = 0});
  PartSession session(PartBuilder().add(object_partition(1, 7, plan)).build());
  const std::string out = listings_of(session.read_list(), &inspect::InspectOptions::print_cookies);
  EXPECT_LT(out.size(), 60000U);
  EXPECT_NE(out.find(std::string(30000, 'u')), std::string::npos);
  EXPECT_EQ(occurrences(out, "uuu...  version"), 99U);
  EXPECT_EQ(occurrences(out, "  magic cookie         77  maximum object id       4711\n"), 100U);
  EXPECT_EQ(out.find("Schemas"), std::string::npos);
}

TEST(PartitionSelection, PartitionsThatLieInOnePlaceAreNotListedWithoutEnd) {
  ObjectPlan plan;
  plan.shared_strings.assign(500, std::string(100, 's'));
  const auto part_with_all_at = [&](std::uint64_t place) {
    PartBuilder part;
    part.add(object_partition(1, 7, plan));
    for (std::int32_t id = 2; id <= 40; ++id) part.add({.id = id, .type = 7, .listed_offset = place});
    return part;
  };
  PartSession session(part_with_all_at(part_with_all_at(0).data_offset(0)).build());
  const std::string out = listings_of(session.read_list());
  EXPECT_TRUE(session.verdict().failed());
  EXPECT_LE(occurrences(out, "Shared strings: 500\n"), 8U);
  EXPECT_GE(occurrences(out, "Shared strings: 500\n"), 2U);
  EXPECT_NE(out.find("object-manager data overlap"), std::string::npos);
}

TEST(PartitionSelection, ATraceIsBoundedByTheFileOnDisk) {
  for (const std::uint64_t length : {1U, 100U}) {
    PartSession session(PartBuilder().add(object_partition(1, 7, ObjectPlan{})).build(), {.trace = true});
    session.read_list();
    session.file().disk_length = length;  // a frame that expands far
    const std::string out = listings_of(session, &inspect::InspectOptions::trace);
    EXPECT_EQ(out.find("object-manager data overlap") != std::string::npos, length == 1);
    EXPECT_EQ(occurrences(out, "Reading Machine type in audit trail entry"), length == 1 ? 0U : 1U);
  }
}

TEST(PartitionSelection, OlderDirectoriesListTheEntityChainsOfTheHeader) {
  ObjectPlan plan;
  plan.root = -1;
  const std::string om = object_partition(plan);
  std::string first_letter = om;
  first_letter[5] = 'X';
  std::string second_letter = om;
  second_letter[4] = 'X';
  for (const std::string& data : {std::string("12345678"), om, first_letter, second_letter}) {
    PartBuilder part;
    part.version = 12;
    part.header_words = 12;
    part.add({.id = 1, .type = 1, .bytes = data}).add({.id = 3, .type = 3, .bytes = "12345678"});
    std::string bytes = part.build();
    bytes[26 + 2 + 2 * 5] = 3;  // the chain of type 5
    PartSession session(bytes);
    const std::string out = listings_of(session.read_list());
    EXPECT_NE(out.find("  Unknown                 5       1536\n"), std::string::npos) << out;
    EXPECT_EQ(occurrences(out, "  Unknown "), 1U);
    EXPECT_EQ(occurrences(out, "Machine format: x86_64 Linux\n"), data.size() > 8 ? 1U : 0U);
    EXPECT_FALSE(session.verdict().failed());
  }
}

}  // namespace
