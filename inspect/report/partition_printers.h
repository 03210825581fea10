#pragma once

#include "inspect/records/inspect_file.h"

namespace inspect {

/// What is shown of an object-manager partition.
enum class PartitionListing {
  trace_only,  ///< read, so that the trace shows it, and nothing printed
  cookies,     ///< heading and audit trail
  contents,    ///< header, schemas, classes, shared strings, root and audit trail, entity chains
};

/// Prints one partition. Raises through inspect_error and inspect_fatal; what was read before stays printed.
void print_partition_contents(InspectFile& file, PartitionEntry& partition, PartitionListing listing);

/// Prints the partitions that the options select, in index order; bad ones are skipped,
/// and so are those that are done. Damage ends the
/// listing: what print_partition_contents() raises is passed on.
void print_partitions(InspectFile& file);

}  // namespace inspect
