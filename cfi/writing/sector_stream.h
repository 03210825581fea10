#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cfi/writing/container.h"
#include "cfi/writing/sector_space.h"

namespace VRX::System::CFI {

/// A stream of a compound file that is being written. As long as it is shorter than the cutoff it is kept in
/// memory, since it will lie in the mini stream; after that its bytes go to sectors of the file at once.
/// Zeros behind its end take room in the file but are not written.
class SectorStream final : public Container {
 public:
  /// The space must outlive this object. A cutoff of 0 is for what never lies in the mini stream.
  SectorStream(SectorSpace& space, std::uint32_t cutoff) : space_(space), cutoff_(cutoff) {}

  std::size_t read(void* destination, std::size_t count) override;

  /// Raises 1021254 when the version of the file has no room for so long a stream.
  std::size_t write(const void* bytes, std::size_t count) override;
  void truncate(std::uint64_t size) override;
  std::uint64_t size() const override { return size_; }

  bool is_in_memory() const { return cutoff_ > 0 && runs_.empty(); }

  /// The bytes of a stream in memory.
  const std::string& bytes() const { return small_; }

  /// The sectors of any other, in the order of its bytes.
  std::vector<SectorRun> runs() const;

 private:
  /// A run, and the number of its first sector within the stream.
  struct PlacedRun {
    std::uint64_t start = 0;
    SectorRun run;
  };
  /// Where the bytes from a position on lie, side by side.
  struct Stretch {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
  };

  Stretch stretch_at(std::uint64_t position) const;
  void read_sectors(std::uint64_t position, char* destination, std::size_t count) const;
  std::size_t write_sectors(std::uint64_t position, const char* bytes, std::size_t count);
  void reserve(std::uint64_t size);
  void keep_sectors(std::uint64_t sectors);
  void move_to_sectors();
  void clear_behind(std::uint64_t size);

  SectorSpace& space_;
  std::uint32_t cutoff_;
  std::uint64_t size_ = 0;
  std::string small_;
  std::vector<PlacedRun> runs_;
  std::uint64_t sectors_ = 0;
};

}  // namespace VRX::System::CFI
