#pragma once

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The check of one object-manager partition under -scan. When its filing mode says that it carries a
/// checksum, notes so in `file.records.has_om_checksums`, folds the `length` - 12 bytes behind the length
/// field and compares with the first of the three values behind them (u32, most significant byte first):
///
///   base      i32 length; -1: an int64 with the length follows
///   then      the object data, which begin with 7 bytes, i32 version, i32 filing mode
///   last 12   total_checksum, checksum1, checksum2
///
/// A mismatch is a problem of the file. Leaves the stream where it was. Raises through inspect_error.
void check_object_manager_checksum(InspectFile& file, const PartitionEntry& entry);

}  // namespace inspect
