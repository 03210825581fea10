#pragma once

#include <string>

#include "inspect/inspect_options.h"
#include "inspect/sections/written_bodies.h"
#include "support/console.h"

namespace inspect {

/// What the files of one run have in common.
struct RunState {
  support::Console& console;
  WrittenBodies written_bodies = {};
};

/// Inspects one part file: opens it, reads header, index and partitions, and runs the reports and extractions
/// that `options` ask for, in their fixed order. Returns the file's status, 0 or 1; trouble is reported,
/// never raised, but for a fatal error of the run: FatalEscape. -extract writes the id that it settles on
/// back into `options`.
int inspect_part_file(const std::string& name, InspectOptions& options, RunState& run);

}  // namespace inspect
