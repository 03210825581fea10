#pragma once

#include "inspect/records/object_manager_audit.h"
#include "inspect/records/object_manager_chains.h"
#include "inspect/records/object_manager_classes.h"
#include "inspect/records/object_manager_header.h"
#include "inspect/records/object_manager_partition.h"

namespace inspect {

/// Header to audit trail in one go. False when a CMOD partition is not in OM format.
bool read_object_manager_partition(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om,
                                   bool trace);

}  // namespace inspect
