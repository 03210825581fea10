#pragma once

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The contents block of one modeller partition, when the slot of its type is selected. The header text is
/// read from the file for it; raises through inspect_error.
void print_brepsolid_directory(InspectFile& file, const PartitionEntry& entry);

}  // namespace inspect
