#include "inspect/records/object_manager_reader.h"

namespace inspect {

void take_known_om_header(InspectFile& file, const PartitionEntry& partition,
                          const ObjectManagerHeader& known, ObjectManagerPartition& om) {
  file.reader.charge(known.end - partition.base);
  static_cast<ObjectManagerHeader&>(om) = known;
  file.reader.move_to(known.end);
}

bool read_object_manager_partition(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om) {
  if (const ObjectManagerHeader* known = file.om_headers.find(partition.number);
      known != nullptr && file.reader.trace() == nullptr) {
    take_known_om_header(file, partition, *known, om);
  } else {
    read_om_length(file, partition, om);
    if (!read_om_intro(file, partition, om)) return false;
    read_om_identity(file, partition, om);
    read_om_counts(file, partition, om);
  }
  read_om_classes(file, partition, om);
  read_shared_strings_and_root(file, partition, om);
  return true;
}

}  // namespace inspect
