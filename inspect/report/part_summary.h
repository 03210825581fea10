#pragma once

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The Part File Summary. Reads the header struct and what the reading pass kept, visits the compatibility
/// and JT streams, and never raises: what goes wrong in a stream is reported and the summary goes on.
void print_part_summary(InspectFile& file);

}  // namespace inspect
