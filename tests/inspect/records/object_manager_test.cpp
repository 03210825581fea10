#include <gtest/gtest.h>

#include "inspect/records/object_manager_reader.h"
#include "inspect/records/partition_kinds.h"
#include "tests/support/object_builder.h"
#include "tests/support/part_session.h"

namespace {

using inspect::ObjectManagerPartition;
using namespace test_support;

std::string part_of(const ObjectPlan& plan, std::int32_t type = 1) {
  PartBuilder part;
  part.order = plan.order;
  part.add(object_partition(1, type, plan));
  part.tail.clear();
  return part.build();
}

/// Number and message of the escape that reading raises; empty when it raises none.
std::string escape_of_reading(const std::string& part, inspect::EntityTypeChains* chains = nullptr) {
  PartSession session(part);
  inspect::InspectFile& file = session.read_list().file();
  const inspect::SilentReading silent(file.reader);
  return escape_of([&] {
    ObjectManagerPartition om;
    read_object_manager_partition(file, session.entry(0), om);
    if (chains != nullptr) read_entity_type_chains(file, session.entry(0), om, *chains);
  });
}

std::vector<ProgramPlan> two_programs() {
  return {{"KX 3", {{.user_name = "c1", .time = 60}, {.user_name = "c2", .time = 50}}},
          {"KX 2", {{.user_name = "b1", .time = 40}}}};
}

/// Names of the saves in the order kept.
std::string user_names(const ObjectManagerPartition& om) {
  std::string names;
  for (const auto& object : om.audit.objects) {
    names += std::string(om.texts[object.program_version]) + ":";
    for (std::size_t i = 0; i < object.entry_count; ++i) {
      const auto& entry = om.audit.entries[object.first_entry + i];
      names += " " + std::string(om.texts[entry.user_name]) + "@" + std::to_string(entry.save_time);
    }
    names += "; ";
  }
  return names;
}

TEST(ObjectManager, ReadsEveryVersionInEveryEncoding) {
  for (std::int32_t version = 3; version <= 10; ++version) {
    for (int variant = 0; variant < 16; ++variant) {
      SCOPED_TRACE(testing::Message() << "version " << version << " variant " << variant);
      ObjectPlan plan;
      plan.version = version;
      plan.compact = (variant & 1) != 0;
      plan.wide = (variant & 2) != 0;
      plan.long_length = (variant & 4) != 0;
      plan.order = (variant & 8) != 0 ? std::endian::big : std::endian::little;
      plan.programs = two_programs();
      plan.classes = {{.name = "VR_First"}, {.name = "VR_Second", .superclass = 0}};
      PartSession session(part_of(plan, inspect::kPath));
      session.read_list();
      ObjectManagerPartition om;
      om.audit.wants_cookies = true;
      ASSERT_TRUE(read_object_manager_partition(session.file(), session.entry(0), om));
      const bool reversed = version == 4;
      EXPECT_EQ(user_names(om),
                reversed ? "KX 2: b1@40; KX 3: c1@60 c2@50; " : "KX 3: c1@60 c2@50; KX 2: b1@40; ");
      EXPECT_EQ(om.audit.entries[0].version_number, 12);
      EXPECT_EQ(om.audit.entries[0].machine_type, 9);
      EXPECT_EQ(om.audit.cookies.size(), version >= 5 ? 3U : 0U);
      for (const auto& cookies : om.audit.cookies) EXPECT_EQ(cookies.maximum_object_id, 4711);
      EXPECT_EQ(om.texts[om.classes[1].name], "VR_Second");
      EXPECT_EQ(om.classes[1].superclass, version >= 7 && version <= 9 ? -1 : 0);
      EXPECT_EQ(om.texts[om.classes[0].schema_name], version >= 10 ? "VR_CORE" : "VRPART");
      EXPECT_EQ(om.root_name, "root");
      EXPECT_EQ(om.external_file_ids.value_or(-7), version >= 4 ? 2 : -7);
      EXPECT_EQ(session.entry(0).shared_strings.size(), 1U);
      EXPECT_FALSE(session.verdict().failed());
    }
  }
}

TEST(ObjectManager, HoldsEveryValueAgainstItsLimit) {
  using Plan = ObjectPlan&;
  const std::string long_name(1024, 'n');
  /// What is changed, and the escape.
  const std::pair<std::function<void(ObjectPlan&)>, const char*> cases[] = {
      {[&](Plan s) {
         s.machine_name.assign(64, 'm'), s.intro[0] = 'X';
         s.file_name = s.schemas[0].first = s.classes[0].name = long_name;
         s.classes[0].schema = 1;
         s.programs[0].saves[0].shared_user = 0;
       },
       ""},
      {[](Plan s) { s.shared_strings.clear(); }, ""},
      {[](Plan s) { s.machine_name.assign(65, 'm'); }, "99 Bad value 65 for machine name length"},
      {[](Plan s) { s.machine_name_length = -1; }, "99 Bad value -1 for machine name length"},
      {[&](Plan s) { s.file_name = long_name + "n"; }, "99 Bad value for file name length of 1025"},
      {[](Plan s) { s.version = 2; }, "99 *** Corrupt part: unknown OM version number 2\n"},
      {[](Plan s) { s.version = 11; }, "99 *** Corrupt part: unknown OM version number 11\n"},
      {[](Plan s) { s.intro = "XX\1\2\3\4\5"; },
       "99 Directory Path 1 is expected to be in OM format but is not.\n"},
      {[](Plan s) { s.class_count = 9999; }, "99 Bad value 9999 for number of classes"},
      {[](Plan s) { s.class_count = INT32_MIN; }, "99 Bad value -2147483648 for number of classes"},
      {[](Plan s) { s.schema_count = -2; }, "641001 n_schemas unexpectedly -ve -2"},
      {[](Plan s) { s.schema_count = INT32_MAX; }, "641001 bad schema name length 0"},
      {[](Plan s) { s.schema_name_length = 0; }, "641001 bad schema name length 0"},
      {[&](Plan s) { s.schemas[0].first = long_name + "n"; }, "641001 bad schema name length 1025"},
      {[](Plan s) { s.classes[0].schema = 2; }, "641001 bad schema index 2 - n schemas 1"},
      {[](Plan s) { s.classes[0].schema = -1; }, "641001 bad schema index -1 - n schemas 1"},
      {[](Plan s) { s.classes[0].name_length = 0; }, "641001 bad class name length 0"},
      {[&](Plan s) { s.classes[0].name = long_name + "n"; }, "641001 bad class name length 1025"},
      {[](Plan s) { s.classes[0].superclass = 1; }, "641001 invalid superclass index 1 - out of range -1..1"},
      {[](Plan s) { s.superclass_entry = -2; }, "641001 invalid superclass index -2 - out of range -1..1"},
      {[](Plan s) { s.version = 9, s.classes[0].handle_type = 4; },
       "99 *** Error: Handle begins with 4 instead of 2 or 6\n"},
      {[](Plan s) { s.version = 9, s.classes[0].handle_type = 2; }, ""},
      {[&](Plan s) { s.version = 9, s.classes[0].name = long_name + "n"; },
       "99 Bad value 1025 for length of class name"},
      {[](Plan s) { s.stored_audit_class = 77; }, "99 Expected audit class index 5 but found 4d\n"},
      {[](Plan s) { s.stored_audit_entry_class = 15; },
       "99 Expected audit_entry class index 6 but found f\n"},
      {[](Plan s) { s.programs[0].saves[0].shared_user = 1; }, "99 Bad shared string table index: 1"},
      {[](Plan s) { s.root = -1, s.stored_audit_class = 77; }, ""},
      {[](Plan s) { s.root = -2, s.stored_audit_class = 77; }, ""},
      {[](Plan s) { s.version = 4, s.last_object_label = 2; },
       "99 Audit label 2 leads to an object that was read before\n"},
      {[](Plan s) { s.version = 3, s.last_entry_label = 3; },
       "99 Audit entry label 3 leads to an object that was read before\n"},
      {[](Plan s) { s.version = 3, s.last_entry_label = 2; },
       "99 Audit entry label 2 leads to an object that was read before\n"},
      {[](Plan s) { s.version = 3, s.last_entry_label = 1 << 30; }, "99 unexpected end of file"}};
  for (const auto& [change, escape] : cases) {
    ObjectPlan plan;
    change(plan);
    EXPECT_EQ(escape_of_reading(part_of(plan, inspect::kPath)), escape) << escape;
  }
}

TEST(ObjectManager, LongChainsCostNoStackAndLittleMemory) {
  ObjectPlan plan;
  ObjectBytes trail(plan.order, plan.compact);
  plan.programs.clear();
  std::string part = part_of(plan, inspect::kPath);
  // The builder nests; a chain of this length is put together by hand behind an empty trail's root.
  constexpr int kCount = 1'000'000;
  trail.compact_short(5).typed_string("KX 1").compact_short(-1);
  for (int i = 0; i < kCount; ++i) trail.compact_short(6).typed_string("u");
  trail.compact_short(-1);
  for (int i = 0; i < kCount; ++i)
    trail.compact_int(i + 1).compact_int(1).compact_int(2).compact_short(3).compact_short(4);
  PartSession session(part + trail.bytes());
  inspect::InspectFile& file = session.read_list().file();
  ObjectManagerPartition om;
  ASSERT_TRUE(read_object_manager_partition(file, session.entry(0), om));
  file.reader.move_to(part.size());
  read_audit_object(file, session.entry(0), om);
  ASSERT_EQ(om.audit.entries.size(), std::size_t{kCount});
  EXPECT_EQ(om.audit.entries.front().save_time, kCount);
  EXPECT_EQ(om.texts.size(), 4U);
}

/// The newer chain layout; each argument is what a sound file has there when left out.
std::string newer_chains(std::uint8_t list = 1, std::uint8_t display = 1, std::uint8_t present = 1,
                         std::int32_t present_count = 3) {
  ObjectBytes out(std::endian::little, true);
  out.compact_short(1).compact_short(2).u8(list);
  out.compact_int(3).label(610).label(-1).label(77).u8(display);
  out.compact_int(1).compact_short(3).compact_int(216).compact_int(1).compact_int(2).compact_short(70);
  out.compact_short(3).u8(1).label(-1).label(-1).label(-1).u8(present);
  out.compact_int(present_count).compact_int(12).compact_int(255).compact_int(256);
  return out.bytes();
}

/// The older one.
std::string older_chains(std::int32_t first_version) {
  ObjectBytes out(std::endian::little, true);
  out.compact_short(first_version).compact_short(2);
  for (std::int32_t type = 0; type < 256; ++type) out.label(type + 100);
  return out.bytes();
}

TEST(ObjectManager, ReadsTheEntityTypeChains) {
  struct Case {
    std::int32_t version;
    std::string chains;
    const char* escape;  ///< empty: read
    std::int32_t of_type_12 = 610, of_type_255 = -1;
  };
  const Case cases[] = {{10, newer_chains(), ""},
                        {10, newer_chains(3), "99 bad VLA header for entity_type_chains"},
                        {10, newer_chains(1, 0), "99 bad VLA header for creation_display_data"},
                        {10, newer_chains(1, 1, 2), "99 bad VLA header for entity_types_present"},
                        {10, newer_chains(1, 1, 1, 4), "99 mismatch in entity type handling for RM_part"},
                        {10, newer_chains(1, 1, 1, -1), "99 mismatch in entity type handling for RM_part"},
                        {9, older_chains(1), "", 112, 355},
                        {9, older_chains(-1), "", 112, 355}};
  for (const Case& one : cases) {
    ObjectPlan plan;
    plan.version = one.version;
    plan.chains = one.chains;
    inspect::EntityTypeChains heads = {};
    EXPECT_EQ(escape_of_reading(part_of(plan), &heads), one.escape);
    if (*one.escape != '\0') continue;
    EXPECT_EQ(heads[12], one.of_type_12);
    EXPECT_EQ(heads[255], one.of_type_255);
  }
}

}  // namespace
