#pragma once

#include <cstddef>
#include <string>

#include "inspect/records/inspect_file.h"
#include "inspect/records/object_manager_partition.h"

namespace inspect {

/// inspect_error when `count` has reached `limit`.
void check_om_limit(InspectFile& file, std::size_t count, std::size_t limit, const char* of_what);

/// inspect_error when the texts of a partition and `further` bytes do not fit into the memory that the file's
/// partitions leave.
void check_object_memory(InspectFile& file, const PartitionEntry& partition, const ObjectManagerPartition& om,
                         std::size_t further);

/// Texts may be stored with a terminator, which is no part of them.
void cut_at_terminator(std::string& text);

}  // namespace inspect
