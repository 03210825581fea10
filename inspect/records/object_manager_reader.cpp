#include "inspect/records/object_manager_reader.h"

namespace inspect {

bool read_object_manager_partition(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om,
                                   bool trace) {
  read_om_length(file, partition, om, trace);
  if (!read_om_intro(file, partition, om, trace)) return false;
  read_om_identity(file, partition, om, trace);
  read_om_counts(file, partition, om, trace);
  read_om_classes(file, partition, om, trace);
  read_shared_strings_and_root(file, partition, om, trace);
  return true;
}

}  // namespace inspect
