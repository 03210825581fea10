#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "inspect/records/inspect_file.h"
#include "inspect/records/object_manager_partition.h"

namespace inspect {

/// An OM handle: names a class in partitions of OM versions below 10. On disk: type (byte, 2 or 6), schema
/// name (short length 0 to 128, bytes), schema version (int), class name (short length 0 to 1024, bytes), and
/// for type 6 the sub file id (int).
struct OmHandle {
  std::uint8_t type = 0;
  std::string schema_name;
  std::int32_t schema_version = 0;
  std::string class_name;
  std::int32_t sub_file_id = 0;
};

void read_om_handle(InspectFile& file, OmHandle& handle);

/// One class of OM version 10: schema index (compact short, 0 to the number of schemas), class name (compact
/// short length 1 to 1024, bytes), sub file id (compact int), superclass index (compact short, -1 to
/// `class_count` - 1), digest (int) and one int more. A value out of range is inspect_fatal.
void read_class_entry(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om,
                      OmClass& om_class);

/// Schemas, classes and superclass table, which the layout of the rest follows: object position table,
/// shared string table (positions), root object (int), audit class and audit entry class (compact shorts).
void read_om_classes(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om);

}  // namespace inspect
