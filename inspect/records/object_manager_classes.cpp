#include "inspect/records/object_manager_classes.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_bounds.h"
#include "inspect/records/om_strings.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::int32_t kClassEntryVersion = 10;
constexpr std::uint8_t kHandle = 2;
constexpr std::uint8_t kHandleWithSubFile = 6;

void read_name(InspectFile& file, std::int32_t length, std::string& name, const FieldLabel& label) {
  name.resize(static_cast<std::size_t>(length));
  file.reader.read(std::span(name), label);
  cut_at_terminator(name);
}

TextId class_text(ObjectManagerPartition& om, std::string_view name) {
  return om.wants_class_names ? om.texts.intern(name) : kNoText;
}

void read_schemas(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om) {
  const std::int32_t count = file.reader.read_compact_int(partition.encoding, "Schema count");
  if (count < 0) inspect_fatal(file.reader, Rule::om_class_entry, "n_schemas unexpectedly -ve %d", count);
  std::string name;
  for (std::int32_t i = 0; i < count; ++i) {
    check_om_limit(file, om.schemas.size(), limits::kSchemas, "schemas");
    check_object_memory(file, partition, om, 0);
    const std::int32_t length = file.reader.read_compact_short(partition.encoding, "schema length");
    if (length < 1 || length > limits::kClassNameBytes)
      inspect_fatal(file.reader, Rule::om_class_entry, "bad schema name length %d", length);
    read_name(file, length, name, "schema name");
    const std::int32_t version = file.reader.read_compact_int(partition.encoding, "schema version");
    om.schemas.push_back({class_text(om, name), version});
  }
}

void check_superclass(InspectFile& file, std::int32_t superclass, std::int32_t class_count) {
  if (superclass >= kNullIndex && superclass < class_count) return;
  inspect_fatal(file.reader, Rule::om_class_entry, "invalid superclass index %d - out of range -1..%d",
                superclass, class_count);
}

void read_handles(InspectFile& file, ObjectManagerPartition& om) {
  OmHandle handle;
  for (std::int32_t i = 0; i < om.class_count; ++i) {
    read_om_handle(file, handle);
    OmClass& om_class = om.classes.emplace_back();
    om_class.schema_name = class_text(om, handle.schema_name);
    om_class.schema_version = handle.schema_version;
    om_class.name = class_text(om, handle.class_name);
    om_class.sub_file_id = handle.sub_file_id;
  }
}

void read_class_entries(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om) {
  for (std::int32_t i = 0; i < om.class_count; ++i) {
    OmClass om_class;
    read_class_entry(file, partition, om, om_class);
    om.classes.push_back(om_class);
  }
}

void read_superclass_table(InspectFile& file, ObjectManagerPartition& om) {
  om.superclass_table.resize(om.classes.size());
  file.reader.read(std::span(om.superclass_table), "superclass table");
  for (std::size_t i = 0; i < om.classes.size(); ++i) {
    check_superclass(file, om.superclass_table[i], om.class_count);
    om.classes[i].superclass = om.superclass_table[i];
  }
}

void read_places(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om) {
  const bool wide = partition.wide_positions;
  const std::uint64_t object_table = file.reader.read_position(wide, "Object position table offset");
  partition.object_table_offset = position_behind(om.start, object_table);
  om.shared_string_position = file.reader.read_position(wide, "Shared string table position");
  file.reader.read(om.root_object, "Root object index");
  om.audit_class = file.reader.read_compact_short(partition.encoding, "Audit class index");
  om.audit_entry_class = file.reader.read_compact_short(partition.encoding, "Audit entry class index");
}

}  // namespace

void read_om_handle(InspectFile& file, OmHandle& handle) {
  file.reader.read(handle.type, "OM handle type");
  if (handle.type != kHandle && handle.type != kHandleWithSubFile) {
    inspect_error(file.reader, Rule::om_handle, "*** Error: Handle begins with %d instead of 2 or 6\n",
                  handle.type);
  }
  std::int16_t length = 0;
  file.reader.read(length, "Schema name length in handle");
  if (length < 0 || length > limits::kHandleSchemaNameBytes) {
    inspect_error(file.reader, Rule::om_handle, "Bad value %d for length of schema name", length);
  }
  read_name(file, length, handle.schema_name, "Schema name in handle");
  file.reader.read(handle.schema_version, "Schema version in handle");
  file.reader.read(length, "Class name length in handle");
  if (length < 0 || length > limits::kHandleClassNameBytes) {
    inspect_error(file.reader, Rule::om_handle, "Bad value %d for length of class name", length);
  }
  read_name(file, length, handle.class_name, "Class name in handle");
  handle.sub_file_id = 0;
  if (handle.type == kHandleWithSubFile) {
    file.reader.read(handle.sub_file_id, "Subfile id in handle");
  }
}

void read_class_entry(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om,
                      OmClass& om_class) {
  const std::span<const OmSchema> schemas = om.schemas;
  const auto schema_count = static_cast<std::int32_t>(schemas.size());
  const std::int32_t schema = file.reader.read_compact_short(partition.encoding, "schema index");
  if (schema < 0 || schema > schema_count) {
    inspect_fatal(file.reader, Rule::om_class_entry, "bad schema index %d - n schemas %d", schema,
                  schema_count);
  }
  // One past the last is accepted: such a class has no schema.
  if (schema < schema_count) {
    om_class.schema_name = schemas[static_cast<std::size_t>(schema)].name;
    om_class.schema_version = schemas[static_cast<std::size_t>(schema)].version;
  }
  const std::int32_t length = file.reader.read_compact_short(partition.encoding, "class name length");
  if (length < 1 || length > limits::kClassNameBytes)
    inspect_fatal(file.reader, Rule::om_class_entry, "bad class name length %d", length);
  std::string name;
  read_name(file, length, name, "class name");
  om_class.name = class_text(om, name);
  om_class.sub_file_id = file.reader.read_compact_int(partition.encoding, "class sub file id");
  om_class.superclass = file.reader.read_compact_short(partition.encoding, "superclass index");
  check_superclass(file, om_class.superclass, om.class_count);
  file.reader.read(om_class.digest, "class name digest");
  file.reader.read(om_class.second_word, "");
}

void read_om_classes(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om) {
  if (om.version >= kClassEntryVersion) {
    read_schemas(file, partition, om);
    read_class_entries(file, partition, om);
  } else {
    read_handles(file, om);
  }
  if (om.version < 7 || om.version > 9) read_superclass_table(file, om);
  read_places(file, partition, om);
}

}  // namespace inspect
