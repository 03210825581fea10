#include "inspect/sections/machine_name.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_reader.h"

namespace inspect {

std::string find_machine_name(InspectFile& file) {
  const SilentReading silent(file.reader);
  for (PartitionEntry& partition : file.records.partitions) {
    if (!holds_object_manager_data(file.records, partition) || !begins_with_om_intro(file, partition))
      continue;
    if (const ObjectManagerHeader* known = file.om_headers.find(partition.number)) return known->machine_name;
    try {
      ObjectManagerPartition om;
      read_om_length(file, partition, om);
      if (!read_om_intro(file, partition, om)) continue;
      read_om_identity(file, partition, om);
      return om.machine_name;
    } catch (const support::ErrorEscape&) {
      // The next one may still tell.
      continue;
    }
  }
  return "Unknown";
}

}  // namespace inspect
