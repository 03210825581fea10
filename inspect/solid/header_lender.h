#pragma once

#include "inspect/records/inspect_file.h"

namespace inspect {

struct HeaderLender {
  bool settled = false;                   ///< no partition that is still to come can change it
  const PartitionEntry* entry = nullptr;  ///< none when the file has no such partition
};

/// The partition whose header text those without one of their own borrow: the first of the modeller set, in
/// the order of the file's list, that is neither an empty directory nor bad and has a text. Partitions of an
/// index that the reading pass has not come to are looked at in passing; a directory that it has not come to
/// leaves the matter open.
HeaderLender find_header_lender(InspectFile& file);

}  // namespace inspect
