#pragma once

#include "inspect/records/inspect_file.h"
#include "inspect/records/object_manager_partition.h"

namespace inspect {

/// Reads the heads of the entity type chains at the stream's position, behind the audit trail of a record
/// manager. Older layout: 256 labels. Newer (OM version 10): a list of n labels, the creation display
/// data, three labels more, and the n entity types of the list; heads of types not named are -1. The two
/// version fields before them change nothing.
void read_entity_type_chains(InspectFile& file, const PartitionEntry& partition,
                             const ObjectManagerHeader& om, EntityTypeChains& heads);

}  // namespace inspect
