#pragma once

#include "inspect/records/inspect_file.h"

namespace inspect {

/// Prints the COMPATIBILITY stream: text, one fact a line; the first line is the earliest compatible release.
void print_compatibility(support::ByteSource& source);

}  // namespace inspect
