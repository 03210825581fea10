#pragma once

#include "inspect/inspect_options.h"
#include "inspect/records/inspect_file.h"
#include "inspect/sections/section_sink.h"

namespace inspect {

/// Hands over the partitions that the options select, in the order of the file: whole, only their audit
/// trails (-cookies), or nothing of them but the trace of their reading. Raises through inspect_error at the
/// first that cannot be read.
void list_selected_partitions(InspectFile& file, const InspectOptions& options, SectionSink& sink);

}  // namespace inspect
