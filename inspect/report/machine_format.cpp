#include "inspect/report/machine_format.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_reader.h"

namespace inspect {

std::string machine_format_text(InspectFile& file) {
  const QuietErrors quiet(file);
  for (PartitionEntry& partition : file.partitions) {
    if (!holds_object_manager_data(file, partition) || !begins_with_om_intro(file, partition)) continue;
    try {
      ObjectManagerPartition om;
      read_om_length(file, partition, om, false);
      if (!read_om_intro(file, partition, om, false)) continue;
      read_om_identity(file, partition, om, false);
      return om.machine_name;
    } catch (const support::ErrorEscape&) {
      // Damage shows where the partition itself is printed; the next one may still tell.
      continue;
    }
  }
  return "Unknown";
}

}  // namespace inspect
