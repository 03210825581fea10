#pragma once

#include "inspect/records/object_manager_audit.h"
#include "inspect/records/object_manager_chains.h"
#include "inspect/records/object_manager_classes.h"
#include "inspect/records/object_manager_header.h"
#include "inspect/records/object_manager_partition.h"

namespace inspect {

/// Takes a header that was read before instead of reading it again; leaves the stream behind it.
void take_known_om_header(InspectFile& file, const PartitionEntry& partition,
                          const ObjectManagerHeader& known, ObjectManagerPartition& om);

/// Header to audit trail in one go. False when a CMOD partition is not in OM format.
bool read_object_manager_partition(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om);

}  // namespace inspect
