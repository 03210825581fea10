#pragma once

#include <cstddef>
#include <vector>

#include "cfi/container_facts.h"
#include "cfi/file_container.h"
#include "cfi/kvpm/kvpm_format.h"
#include "cfi/kvpm/storage_index.h"

namespace VRX::System::CFI {

/// Reads what stands between signature and header index into `facts`.
/// Raises 1020023 at the end of the file and 1021260 for a version above 6.
void read_fixed_header(FileContainer& in, KvpmFacts& facts);

/// Reads the index at the container's position, of the version in `facts`, and adds what it lists to `index`;
/// for the header index of version 3 and later `part_header` receives the bytes of the part file header
/// (16-bit units). What is learned of the index itself goes into `facts`, up to the damage when this raises.
/// Raises 1020023 at the end of the file, 1021253 for a wrong signature or an ill-formed path, 1021265 for a
/// count, offset, size or header length out of range, 1021502 for a path length out of range and 1021501
/// when the checksum does not match.
void read_index(FileContainer& in, IndexArea area, KvpmFacts& facts, StorageIndex& index,
                std::vector<std::byte>& part_header);

}  // namespace VRX::System::CFI
