#pragma once

#include <string>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The machine name of the first object-manager partition that can be read, else "Unknown". Damage is kept
/// quiet: it shows where the partition itself is listed.
std::string find_machine_name(InspectFile& file);

}  // namespace inspect
