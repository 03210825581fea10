#pragma once

#include <string>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The machine name of the first object-manager partition whose header can be read, as stored; "Unknown" when
/// there is none. Reads the header alone, and reports nothing.
std::string machine_format_text(InspectFile& file);

}  // namespace inspect
