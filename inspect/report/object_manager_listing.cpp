#include "inspect/report/object_manager_listing.h"

#include <array>
#include <string>

#include "inspect/report/audit_trail_lines.h"
#include "support/local_time.h"
#include "support/printable.h"
#include "support/text_line.h"

namespace inspect {

namespace {

using support::append_number;
using support::printable;

constexpr std::size_t kNameColumns = 32;
constexpr std::size_t kSchemaColumns = 16;

/// By OM version, from 3.
constexpr std::array kVersionTexts = {
    "(audit objects by label)", "(audit objects by label)",    "(audit objects inline)",
    "(audit objects inline)",   "(no superclass table)",       "(no superclass table)",
    "(no superclass table)",    "(schemas and class entries)",
};

void append_hex(std::string& line, std::int32_t value) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (int shift = 28; shift >= 0; shift -= 4)
    line += kDigits[static_cast<std::uint32_t>(value) >> shift & 0xFU];
}

void print_schemas(support::Console& console, const ObjectManagerPartition& om, ShownTexts& texts) {
  console.print("Schemas: %zu\n", om.schemas.size());
  std::string line;
  for (std::size_t i = 0; i < om.schemas.size(); ++i) {
    line = "  ";
    append_number(line, static_cast<std::int64_t>(i), 4);
    line += "  ";
    texts.append(line, om.schemas[i].name, kNameColumns);
    line += "  version ";
    append_number(line, om.schemas[i].version);
    line += '\n';
    console.print_text(line);
  }
}

/// Index, name, schema with version, superclass and sub file of a class; from version 10 its digest.
void append_class(std::string& line, std::size_t index, const OmClass& om_class, ShownTexts& texts) {
  append_number(line, static_cast<std::int64_t>(index), 6);
  line += "  ";
  texts.append(line, om_class.name, kNameColumns);
  line += "  schema ";
  texts.append(line, om_class.schema_name, kSchemaColumns);
  line += " version ";
  append_number(line, om_class.schema_version, 5);
  line += "  superclass ";
  append_number(line, om_class.superclass, 4);
  line += "  sub file ";
  append_number(line, om_class.sub_file_id, 4);
}

void print_classes(support::Console& console, const ObjectManagerPartition& om, ShownTexts& texts) {
  console.print("Classes: %zu\n", om.classes.size());
  std::string line;
  for (std::size_t i = 0; i < om.classes.size(); ++i) {
    line.clear();
    append_class(line, i, om.classes[i], texts);
    if (om.version >= kLastOmVersion) {
      line += "  digest ";
      append_hex(line, om.classes[i].digest);
      line += ' ';
      append_number(line, om.classes[i].second_word);
    }
    line += '\n';
    console.print_text(line);
  }
}

}  // namespace

const char* om_version_text(std::int32_t version) {
  const bool known = version >= kFirstOmVersion && version <= kLastOmVersion;
  return known ? kVersionTexts[static_cast<std::size_t>(version - kFirstOmVersion)] : "";
}

void print_partition_heading(support::Console& console, const PartitionEntry& partition) {
  console.print("\n--------- Contents of %s directory ----------\n", partition_type_name(partition.type));
  console.print("Partition id: %d\n", partition.id);
}

void print_not_om(support::Console& console, const PartitionEntry& partition) {
  console.print("Directory %s %d is expected to be in OM format but is not.\n",
                partition_type_name(partition.type), partition.id);
  console.print_text("This will be true for pre-Phase 6 V10 parts\n");
}

void print_om_start(support::Console& console, const ObjectManagerStart& om) {
  const auto start = static_cast<long long>(om.start);
  console.print("Starts at file offset: %lld (0x%llx)\n", start, om.start + 0ULL);
  console.print("Length: %llu bytes\n", om.length + 0ULL);
}

void print_om_identity(support::Console& console, const PartitionEntry& partition,
                       const ObjectManagerPartition& om) {
  console.print("Machine format: %s\n", printable(om.machine_name).c_str());
  console.print("Time of saving: %s", support::local_time_line(om.save_time).c_str());
  console.print("OM file name: %s\n", printable(om.file_name).c_str());
  console.print("OM file format version: %d %s\n", om.version, om_version_text(om.version));
  console.print("Number encoding: %s\n", partition.encoding == Encoding::compact ? "compact" : "plain");
  console.print("Carries a checksum: %s\n", om.has_checksum ? "yes" : "no");
  console.print("Number of objects: %d\n", om.object_count);
}

void print_om_counts(support::Console& console, const PartitionEntry& partition,
                     const ObjectManagerPartition& om) {
  console.print("Label of saving object: %d\n", om.saving_object_label);
  console.print("Label of root object: %d\n", om.root_object_label);
  if (om.external_references) {
    console.print("Number of external references out of this directory: %d\n", *om.external_references);
  }
  if (om.external_root_groups)
    console.print("Number of external root object groups: %d\n", *om.external_root_groups);
  if (om.external_file_ids.value_or(-1) >= 0) {
    console.print("Number of inter-part references out of this directory: %d\n", *om.external_file_ids);
  }
  if (partition.wide_positions) console.print_text("Uses 64 bit offsets\n");
}

void print_om_classes(support::Console& console, const PartitionEntry& partition,
                      const ObjectManagerPartition& om) {
  ShownTexts texts(partition, om);
  if (om.version >= kLastOmVersion) print_schemas(console, om, texts);
  print_classes(console, om, texts);
}

void print_om_root(support::Console& console, const PartitionEntry& partition,
                   const ObjectManagerPartition& om) {
  if (!om.has_root()) {
    console.print_text("Root object: none\n");
    return;
  }
  console.print("Shared strings: %zu\n", partition.shared_strings.size());
  console.print("Root object: %d \"%s\"\n", om.root_object, printable(om.root_name).c_str());
}

}  // namespace inspect
