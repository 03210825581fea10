#pragma once

#include <cstdint>
#include <vector>

#include "cfi/file_channel.h"

namespace VRX::System::CFI {

/// Sectors that lie side by side.
struct SectorRun {
  std::uint32_t first = 0;
  std::uint32_t count = 0;
};

/// The sectors of a compound file that is being written, and which of them are free. A sector that was never
/// written reads as zeros, and so does one that was given back.
class SectorSpace {
 public:
  /// Version 3 has sectors of 512 bytes, version 4 of 4096. The file is empty and must outlive this object.
  SectorSpace(FileChannel& file, unsigned version);

  FileChannel& file() const { return file_; }
  unsigned version() const { return version_; }
  unsigned shift() const { return version_ == 3 ? 9 : 12; }
  std::uint32_t sector_size() const { return 1U << shift(); }
  std::uint64_t offset_of(std::uint64_t sector) const { return (sector + 1) << shift(); }
  std::uint64_t sectors_for(std::uint64_t bytes) const {
    return (bytes >> shift()) + ((bytes & (sector_size() - 1)) != 0 ? 1 : 0);
  }

  /// How many sectors the file has so far; the number of the next one.
  std::uint32_t count() const { return count_; }
  const std::vector<SectorRun>& free_runs() const { return free_; }

  /// Adds sectors to the runs. Raises 1021254 when the version has no room for them; nothing is added then.
  void allocate(std::uint64_t sectors, std::vector<SectorRun>& runs);

  /// The same, all of them behind what the file has.
  void append(std::uint64_t sectors, std::vector<SectorRun>& runs);

  /// Gives sectors back. Raises 1020059.
  void give_back(SectorRun run);

  /// The sector over the bytes by whose locks programs on other systems share a file: in a file that reaches
  /// so far it stays unused.
  std::uint32_t lock_sector() const;

  /// How many sectors the file will have once so many more are appended.
  std::uint64_t count_with(std::uint64_t more) const;

 private:
  void require_room(std::uint64_t more) const;

  FileChannel& file_;
  unsigned version_;
  std::uint32_t count_ = 0;
  std::vector<SectorRun> free_;
};

}  // namespace VRX::System::CFI
