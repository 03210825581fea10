#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"

namespace inspect {

// All of these work on what the reading pass has kept in the entries. They raise through inspect_error, which
// ends the file's run.

// Under -check_checksums and -scan, -extract and -extract_all only check what they would write.

/// -extract: writes the partition with this id and the chain of partitions that it links to. Returns the id
/// of the last one. That there is none is a problem of the file.
std::int32_t extract_partition(InspectFile& file, std::int32_t id);

/// -extract_all: writes every body, then every delta. False when not all is whole.
bool extract_all_partitions(InspectFile& file);

/// -check_checksums: checks what extract_all_partitions would write. False when anything was found.
bool check_all_partitions(InspectFile& file);

/// -scan: checks one partition. A finding fails the file.
void check_scanned_partition(InspectFile& file, const PartitionEntry& entry);

}  // namespace inspect
