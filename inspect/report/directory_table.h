#pragma once

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The count of non-empty directories and one line for each.
void print_directory_table(const InspectFile& file);

}  // namespace inspect
