#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_reader.h"
#include "inspect/records/traced_readers.h"
#include "tests/support/object_builder.h"
#include "tests/support/opened_part.h"
#include "tests/support/part_builder.h"

namespace {

using inspect::ObjectManagerPartition;
using test_support::ObjectBytes;
using test_support::ObjectPlan;
using test_support::OpenedPart;
using test_support::ProgramPlan;

std::string part_of(const ObjectPlan& plan, std::int32_t type = 1) {
  test_support::PartBuilder part;
  part.order = plan.order;
  part.add(object_partition(1, type, plan));
  part.tail.clear();
  return part.build();
}

/// The message of the escape that reading raises; empty when it raises none.
std::string message_of(const std::string& part, std::int32_t* code = nullptr,
                       inspect::EntityTypeChains* chains = nullptr) {
  OpenedPart opened(part);
  ObjectManagerPartition om;
  const inspect::QuietErrors quiet(opened.file);
  try {
    inspect::PartitionEntry& partition = opened.file.partitions[0];
    read_object_manager_partition(opened.file, partition, om, false);
    if (chains != nullptr) read_entity_type_chains(false, opened.file, partition, *chains);
  } catch (const support::ErrorEscape& escape) {
    if (code != nullptr) *code = escape.code();
    return escape.message();
  }
  return {};
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
      OpenedPart opened(part_of(plan, inspect::kPath));
      opened.options.print_cookies = true;
      ObjectManagerPartition om;
      ASSERT_TRUE(read_object_manager_partition(opened.file, opened.file.partitions[0], om, false));
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
      EXPECT_EQ(opened.file.partitions[0].shared_strings.size(), 1U);
      EXPECT_FALSE(opened.file.failed);
    }
  }
}

struct LimitCase {
  const char* name;
  std::function<void(ObjectPlan&)> change;
  const char* message;  ///< empty: accepted
  std::int32_t code = inspect::kContentError;
};

TEST(ObjectManager, HoldsEveryValueAgainstItsLimit) {
  using Plan = ObjectPlan&;
  const int fatal = inspect::kInspectorError;
  const std::string long_name(1024, 'n');
  const LimitCase cases[] = {
      {"machine name 64", [](Plan s) { s.machine_name.assign(64, 'm'); }, ""},
      {"machine name 65", [](Plan s) { s.machine_name.assign(65, 'm'); },
       "Bad value 65 for machine name length"},
      {"machine name -1", [](Plan s) { s.machine_name_length = -1; }, "Bad value -1 for machine name length"},
      {"file name 1024", [&](Plan s) { s.file_name = long_name; }, ""},
      {"file name 1025", [&](Plan s) { s.file_name = long_name + "n"; },
       "Bad value for file name length of 1025"},
      {"version 2", [](Plan s) { s.version = 2; }, "*** Corrupt part: unknown OM version number 2\n"},
      {"version 11", [](Plan s) { s.version = 11; }, "*** Corrupt part: unknown OM version number 11\n"},
      {"intro with M alone", [](Plan s) { s.intro[0] = 'X'; }, ""},
      {"no intro", [](Plan s) { s.intro = "XX\1\2\3\4\5"; },
       "Directory Path 1 is expected to be in OM format but is not.\n"},
      {"classes 9999", [](Plan s) { s.class_count = 9999; }, "Bad value 9999 for number of classes"},
      {"classes 2^31", [](Plan s) { s.class_count = INT32_MIN; },
       "Bad value -2147483648 for number of classes"},
      {"schemas -2", [](Plan s) { s.schema_count = -2; }, "n_schemas unexpectedly -ve -2", fatal},
      {"schemas 2^31-1", [](Plan s) { s.schema_count = INT32_MAX; }, "bad schema name length 0", fatal},
      {"schema name 0", [](Plan s) { s.schema_name_length = 0; }, "bad schema name length 0", fatal},
      {"schema name 1024", [&](Plan s) { s.schemas[0].first = long_name; }, ""},
      {"schema name 1025", [&](Plan s) { s.schemas[0].first = long_name + "n"; },
       "bad schema name length 1025", fatal},
      {"schema index at the count", [](Plan s) { s.classes[0].schema = 1; }, ""},
      {"schema index behind it", [](Plan s) { s.classes[0].schema = 2; }, "bad schema index 2 - n schemas 1",
       fatal},
      {"schema index -1", [](Plan s) { s.classes[0].schema = -1; }, "bad schema index -1 - n schemas 1",
       fatal},
      {"class name 0", [](Plan s) { s.classes[0].name_length = 0; }, "bad class name length 0", fatal},
      {"class name 1024", [&](Plan s) { s.classes[0].name = long_name; }, ""},
      {"class name 1025", [&](Plan s) { s.classes[0].name = long_name + "n"; }, "bad class name length 1025",
       fatal},
      {"superclass at the count", [](Plan s) { s.classes[0].superclass = 1; },
       "invalid superclass index 1 - out of range -1..1", fatal},
      {"superclass -2 in the table", [](Plan s) { s.superclass_entry = -2; },
       "invalid superclass index -2 - out of range -1..1", fatal},
      {"handle of type 4", [](Plan s) { s.version = 9, s.classes[0].handle_type = 4; },
       "*** Error: Handle begins with 4 instead of 2 or 6\n"},
      {"handle of type 2", [](Plan s) { s.version = 9, s.classes[0].handle_type = 2; }, ""},
      {"handle class name 1025", [&](Plan s) { s.version = 9, s.classes[0].name = long_name + "n"; },
       "Bad value 1025 for length of class name"},
      {"audit class", [](Plan s) { s.stored_audit_class = 77; },
       "Expected audit class index 5 but found 4d\n"},
      {"audit entry class", [](Plan s) { s.stored_audit_entry_class = 15; },
       "Expected audit_entry class index 6 but found f\n"},
      {"string 32000", [](Plan s) { s.programs[0].version = std::string(32000, 's'); }, ""},
      {"string 32001", [](Plan s) { s.programs[0].version = std::string(32001, 's'); },
       "Bad value 32001 for length of string"},
      {"shared string 0", [](Plan s) { s.programs[0].saves[0].shared_user = 0; }, ""},
      {"shared string 1 of 1", [](Plan s) { s.programs[0].saves[0].shared_user = 1; },
       "Bad shared string table index: 1"},
      {"no shared strings", [](Plan s) { s.shared_strings.clear(); }, ""},
      {"no root", [](Plan s) { s.root = -1, s.stored_audit_class = 77; }, ""},
      {"other no root", [](Plan s) { s.root = -2, s.stored_audit_class = 77; }, ""},
      {"object label cycle", [](Plan s) { s.version = 4, s.last_object_label = 2; },
       "Audit label 2 leads to an object that was read before\n"},
      {"entry label cycle", [](Plan s) { s.version = 3, s.last_entry_label = 3; },
       "Audit entry label 3 leads to an object that was read before\n"},
      {"entry label of its object", [](Plan s) { s.version = 3, s.last_entry_label = 2; },
       "Audit entry label 2 leads to an object that was read before\n"},
      {"label far away", [](Plan s) { s.version = 3, s.last_entry_label = 1 << 30; },
       "unexpected end of file"},
  };
  for (const LimitCase& one : cases) {
    SCOPED_TRACE(one.name);
    ObjectPlan plan;
    one.change(plan);
    std::int32_t code = 0;
    const std::string message = message_of(part_of(plan, inspect::kPath), &code);
    EXPECT_EQ(message, one.message);
    EXPECT_EQ(code, message.empty() ? 0 : one.code);
  }
}

TEST(ObjectManager, CutAnywhereItEndsWithAMessage) {
  ObjectPlan plan;
  plan.programs = two_programs();
  const std::string whole = part_of(plan, inspect::kPath);
  const OpenedPart sound(whole);
  const std::uint64_t base = sound.file.partitions[0].base;
  for (std::size_t size = base; size < whole.size() - 12; ++size) {
    EXPECT_NE(message_of(whole.substr(0, size)), "") << "cut at " << size - base;
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
  OpenedPart opened(part + trail.bytes());
  ObjectManagerPartition om;
  inspect::PartitionEntry& partition = opened.file.partitions[0];
  ASSERT_TRUE(read_object_manager_partition(opened.file, partition, om, false));
  inspect::move_to(false, opened.file, part.size());
  read_audit_object(opened.file, partition, om, false);
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
    const char* message;  ///< empty: read
    std::int32_t of_type_12 = 610;
    std::int32_t of_type_255 = -1;
  };
  const Case cases[] = {
      {10, newer_chains(), ""},
      {10, newer_chains(3), "bad VLA header for entity_type_chains"},
      {10, newer_chains(1, 0), "bad VLA header for creation_display_data"},
      {10, newer_chains(1, 1, 2), "bad VLA header for entity_types_present"},
      {10, newer_chains(1, 1, 1, 4), "mismatch in entity type handling for RM_part"},
      {10, newer_chains(1, 1, 1, -1), "mismatch in entity type handling for RM_part"},
      {9, older_chains(1), "", 112, 355},
      {9, older_chains(-1), "", 112, 355},
  };
  for (const Case& one : cases) {
    ObjectPlan plan;
    plan.version = one.version;
    plan.chains = one.chains;
    inspect::EntityTypeChains heads = {};
    EXPECT_EQ(message_of(part_of(plan), nullptr, &heads), one.message);
    if (*one.message != '\0') continue;
    EXPECT_EQ(heads[12], one.of_type_12);
    EXPECT_EQ(heads[255], one.of_type_255);
  }
}

}  // namespace
