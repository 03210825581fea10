#pragma once

#include <cstddef>
#include <vector>

#include "cfi/file_container.h"
#include "cfi/kvpm/kvpm_format.h"
#include "cfi/kvpm/storage_index.h"

namespace VRX::System::CFI {

/// Reads the index at the container's position and adds what it lists to `index`; for the header index of
/// version 3 and later `part_header` receives the bytes of the part file header (16-bit units).
/// Raises 1020023 at the end of the file, 1021253 for a wrong signature or an ill-formed path, 1021265 for a
/// count, offset, size or header length out of range, 1021502 for a path length out of range and 1021501
/// when the checksum does not match.
void read_index(FileContainer& in, int version, IndexArea area, StorageIndex& index,
                std::vector<std::byte>& part_header);

}  // namespace VRX::System::CFI
