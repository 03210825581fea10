#include "inspect/records/object_manager_classes.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_limits.h"
#include "inspect/records/traced_readers.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::int32_t kClassEntryVersion = 10;
constexpr std::uint8_t kHandle = 2;
constexpr std::uint8_t kHandleWithSubFile = 6;

void read_name(InspectFile& file, std::int32_t length, std::string& name, const char* label, bool trace) {
  name.resize(static_cast<std::size_t>(length));
  read_bytes(trace, file, length, name.data(), "%s", label);
  cut_at_terminator(name);
}

void read_schemas(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om,
                  bool trace) {
  const std::int32_t count = read_compact_int(trace, file, partition, "Schema count");
  if (count < 0) inspect_fatal(file, "n_schemas unexpectedly -ve %d", count);
  std::string name;
  for (std::int32_t i = 0; i < count; ++i) {
    check_om_limit(file, om.schemas.size(), limits::kSchemas, "schemas");
    check_object_memory(file, partition, om, 0);
    const std::int32_t length = read_compact_short(trace, file, partition, "schema length");
    if (length < 1 || length > limits::kClassNameBytes)
      inspect_fatal(file, "bad schema name length %d", length);
    read_name(file, length, name, "schema name", trace);
    const std::int32_t version = read_compact_int(trace, file, partition, "schema version");
    om.schemas.push_back({om.texts.intern(name), version});
  }
}

void check_superclass(InspectFile& file, std::int32_t superclass, std::int32_t class_count) {
  if (superclass >= kNullIndex && superclass < class_count) return;
  inspect_fatal(file, "invalid superclass index %d - out of range -1..%d", superclass, class_count);
}

void read_handles(InspectFile& file, ObjectManagerPartition& om, bool trace) {
  OmHandle handle;
  for (std::int32_t i = 0; i < om.class_count; ++i) {
    read_om_handle(file, handle, trace);
    OmClass& om_class = om.classes.emplace_back();
    om_class.schema_name = om.texts.intern(handle.schema_name);
    om_class.schema_version = handle.schema_version;
    om_class.name = om.texts.intern(handle.class_name);
    om_class.sub_file_id = handle.sub_file_id;
  }
}

void read_class_entries(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om,
                        bool trace) {
  for (std::int32_t i = 0; i < om.class_count; ++i) {
    OmClass om_class;
    read_class_entry(file, om.class_count, partition, om_class, om.schemas, om.texts, trace);
    om.classes.push_back(om_class);
  }
}

void read_superclass_table(InspectFile& file, ObjectManagerPartition& om, bool trace) {
  om.superclass_table.resize(om.classes.size());
  std::int16_t none = 0;
  read_shorts(trace, file, om.class_count, om.class_count == 0 ? &none : om.superclass_table.data(),
              "superclass table");
  for (std::size_t i = 0; i < om.classes.size(); ++i) {
    check_superclass(file, om.superclass_table[i], om.class_count);
    om.classes[i].superclass = om.superclass_table[i];
  }
}

void read_places(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om, bool trace) {
  std::uint64_t object_table = 0;
  const bool wide = partition.wide_positions;
  read_position(trace, file, wide, object_table, "Object position table offset");
  partition.object_table_offset = position_behind(om.start, object_table);
  read_position(trace, file, wide, om.shared_string_position, "Shared string table position");
  read_ints(trace, file, 1, &om.root_object, "Root object index");
  om.audit_class = read_compact_short(trace, file, partition, "Audit class index");
  om.audit_entry_class = read_compact_short(trace, file, partition, "Audit entry class index");
}

}  // namespace

void read_om_handle(InspectFile& file, OmHandle& handle, bool trace) {
  read_bytes(trace, file, 1, &handle.type, "OM handle type");
  if (handle.type != kHandle && handle.type != kHandleWithSubFile) {
    inspect_error(file, "*** Error: Handle begins with %d instead of 2 or 6\n", handle.type);
  }
  std::int16_t length = 0;
  read_shorts(trace, file, 1, &length, "Schema name length in handle");
  if (length < 0 || length > limits::kHandleSchemaNameBytes) {
    inspect_error(file, "Bad value %d for length of schema name", length);
  }
  read_name(file, length, handle.schema_name, "Schema name in handle", trace);
  read_ints(trace, file, 1, &handle.schema_version, "Schema version in handle");
  read_shorts(trace, file, 1, &length, "Class name length in handle");
  if (length < 0 || length > limits::kHandleClassNameBytes) {
    inspect_error(file, "Bad value %d for length of class name", length);
  }
  read_name(file, length, handle.class_name, "Class name in handle", trace);
  handle.sub_file_id = 0;
  if (handle.type == kHandleWithSubFile) {
    read_ints(trace, file, 1, &handle.sub_file_id, "Subfile id in handle");
  }
}

void read_class_entry(InspectFile& file, std::int32_t class_count, const PartitionEntry& partition,
                      OmClass& om_class, std::span<const OmSchema> schemas, TextPool& texts, bool trace) {
  const auto schema_count = static_cast<std::int32_t>(schemas.size());
  const std::int32_t schema = read_compact_short(trace, file, partition, "schema index");
  if (schema < 0 || schema > schema_count) {
    inspect_fatal(file, "bad schema index %d - n schemas %d", schema, schema_count);
  }
  // One past the last is accepted: such a class has no schema.
  if (schema < schema_count) {
    om_class.schema_name = schemas[static_cast<std::size_t>(schema)].name;
    om_class.schema_version = schemas[static_cast<std::size_t>(schema)].version;
  }
  const std::int32_t length = read_compact_short(trace, file, partition, "class name length");
  if (length < 1 || length > limits::kClassNameBytes) inspect_fatal(file, "bad class name length %d", length);
  std::string name;
  read_name(file, length, name, "class name", trace);
  om_class.name = texts.intern(name);
  om_class.sub_file_id = read_compact_int(trace, file, partition, "class sub file id");
  om_class.superclass = read_compact_short(trace, file, partition, "superclass index");
  check_superclass(file, om_class.superclass, class_count);
  read_ints(trace, file, 1, &om_class.digest, "class name digest");
  read_ints(trace, file, 1, &om_class.second_word, "%s", "");
}

void read_om_classes(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om, bool trace) {
  if (om.version >= kClassEntryVersion) {
    read_schemas(file, partition, om, trace);
    read_class_entries(file, partition, om, trace);
  } else {
    read_handles(file, om, trace);
  }
  if (om.version < 7 || om.version > 9) read_superclass_table(file, om, trace);
  read_places(file, partition, om, trace);
}

}  // namespace inspect
