#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "cfi/element.h"
#include "cfi/writing/sector_space.h"
#include "cfi/writing/sector_stream.h"

namespace VRX::System::CFI {

/// An element for the directory; the first of them is the root storage.
struct DirectoryItem {
  std::u16string_view name;
  ClassId class_id = {};
  const SectorStream* stream = nullptr;      ///< null for a storage
  std::vector<std::uint32_t> children = {};  ///< their numbers, in the order in which siblings are kept
};

/// Writes all of a compound file but the streams that lie in sectors already: mini stream, mini FAT,
/// directory, FAT, DIFAT and header. Raises 1020059, and 1021254 when the version has no room for them.
void write_compound_tables(SectorSpace& space, std::span<const DirectoryItem> items);

}  // namespace VRX::System::CFI
