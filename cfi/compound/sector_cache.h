#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "cfi/compound/compound_header.h"
#include "cfi/file_channel.h"

namespace VRX::System::CFI {

/// The sectors that hold a compound file's own tables (FAT, DIFAT, mini FAT, directory), read when asked
/// for. Keeps at most 32 MiB of them.
class SectorCache {
 public:
  SectorCache(FileChannel& channel, const CompoundHeader& header);
  SectorCache(const SectorCache&) = delete;
  SectorCache& operator=(const SectorCache&) = delete;

  /// The bytes of a sector that the file holds: fewer than a sector where the file ends inside it. Valid
  /// until the next call.
  std::span<const unsigned char> sector(std::uint32_t number);

 private:
  struct Slot {
    std::unique_ptr<unsigned char[]> bytes;
    std::uint32_t number = compound::kFreeSector;
    std::uint32_t length = 0;
  };

  FileChannel& channel_;
  const CompoundHeader& header_;
  unsigned slot_bits_;
  std::vector<Slot> slots_;
};

}  // namespace VRX::System::CFI
