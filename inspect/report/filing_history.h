#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The names of the releases in an old history word on one line: bit i stands for release i + 1; " none"
/// without a bit.
void print_old_filing_history(std::uint16_t word);

/// The saves recorded in the record-manager partitions, one a line, oldest first. Content that cannot be read
/// ends the history with a line that says why; it fails neither the file nor the summary.
void print_v10_filing_history(InspectFile& file);

}  // namespace inspect
