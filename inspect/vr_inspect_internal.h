#pragma once

#include "inspect/records/inspect_options.h"

namespace inspect {

/// What a fatal error of the run does: end the process, or escape to the driver as an error of the file.
enum class FatalErrors { end_process, escape };

/// Inspects one part file: opens it, reads header, index and partitions, and runs the reports and extractions
/// that `options` ask for, in their fixed order. Returns the file's status, 0 or 1; trouble is reported,
/// never raised. -extract writes the id that it settles on back into `options`.
int inspect_part_file(const char* name, InspectOptions& options,
                      FatalErrors fatal_errors = FatalErrors::end_process);

}  // namespace inspect
