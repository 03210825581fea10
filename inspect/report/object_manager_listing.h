#pragma once

#include "inspect/records/object_manager_partition.h"
#include "inspect/sections/partition_listing.h"
#include "support/console.h"

/// The listing of an object-manager partition, one function for each step of reading it.
namespace inspect {

/// What sets an OM version apart, in brackets; empty for a version that does not exist.
const char* om_version_text(std::int32_t version);

void print_partition_heading(support::Console& console, const PartitionEntry& partition);
void print_not_om(support::Console& console, const PartitionEntry& partition);
void print_om_start(support::Console& console, const ObjectManagerStart& om);
void print_om_identity(support::Console& console, const PartitionEntry& partition,
                       const ObjectManagerPartition& om);
void print_om_counts(support::Console& console, const PartitionEntry& partition,
                     const ObjectManagerPartition& om);
void print_om_classes(support::Console& console, const PartitionEntry& partition,
                      const ObjectManagerPartition& om);
void print_om_root(support::Console& console, const PartitionEntry& partition,
                   const ObjectManagerPartition& om);

}  // namespace inspect
