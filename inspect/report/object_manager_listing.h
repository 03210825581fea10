#pragma once

#include "inspect/records/object_manager_partition.h"
#include "inspect/sections/partition_listing.h"

/// The listing of an object-manager partition, one function for each step of reading it.
namespace inspect {

/// What sets an OM version apart, in brackets; empty for a version that does not exist.
const char* om_version_text(std::int32_t version);

void print_partition_heading(const PartitionEntry& partition);
void print_not_om(const PartitionEntry& partition);
void print_om_start(const ObjectManagerStart& om);
void print_om_identity(const PartitionEntry& partition, const ObjectManagerPartition& om);
void print_om_counts(const PartitionEntry& partition, const ObjectManagerPartition& om);
void print_om_classes(const PartitionEntry& partition, const ObjectManagerPartition& om);
void print_om_root(const PartitionEntry& partition, const ObjectManagerPartition& om);

}  // namespace inspect
