#pragma once

#include "inspect/records/inspect_file.h"

namespace inspect {

/// Looks at the data of a modeller partition that are stored plainly: that they begin like a zlib stream, and
/// expand for a while, is a finding. Leaves the stream anywhere. Raises through inspect_error.
void check_plain_data(InspectFile& file, const PartitionEntry& partition);

}  // namespace inspect
