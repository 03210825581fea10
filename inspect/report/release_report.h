#pragma once

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The Part Release Information of -release.
void print_release_report(const InspectFile& file);

/// The line "Release: <name>[ (DEV)]", or that the release number is unknown.
/// A development part is named after the release that follows the one stamped in it.
void print_release_line(const InspectFile& file);

}  // namespace inspect
