#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "cfi/compound/chain_source.h"
#include "cfi/compound/sector_chain.h"

namespace VRX::System::CFI {

/// The stream of the root entry, which holds all streams below the cutoff in mini sectors, and the mini
/// FAT that chains these.
class MiniStream {
 public:
  MiniStream(SectorAllocationTable& table, std::uint32_t first_sector, std::uint64_t size);

  /// The mini sectors of a stream of `size` bytes, which is below the cutoff; fewer when the chain ends
  /// early or leaves the mini stream. Raises 1021266 when it, the mini stream or the mini FAT runs in a
  /// circle.
  std::vector<std::uint32_t> follow(std::uint32_t first, std::uint64_t size);

  /// The same without an error: nothing when anything runs in a circle.
  std::optional<std::vector<std::uint32_t>> try_follow(std::uint32_t first, std::uint64_t size);

  /// Mini sectors that the sectors of the mini stream have room for, the last perhaps cut short.
  std::uint32_t mini_sector_count() const;

  /// True when the mini FAT has it for free, or does not go that far; of a mini sector below
  /// mini_sector_count().
  bool is_free(std::uint32_t mini_sector) { return next(mini_sector) == compound::kFreeSector; }

  /// The sectors that the mini stream takes.
  const SectorChain& chain() const { return chain_; }
  std::uint64_t size() const { return size_; }

  /// True when any of the `size` bytes of a stream, or the links to them, lie beyond the end of the file.
  bool reaches_beyond_file(std::uint32_t first, std::uint64_t size);

  /// Reads `count` bytes from `position` of the mini stream; fewer only at its end.
  std::size_t read_at(std::uint64_t position, void* destination, std::size_t count) const;

  /// Where the byte at a position of the mini stream lies in the file: nothing beyond the sectors that it
  /// has.
  std::optional<std::uint64_t> file_offset(std::uint64_t position) const;

  FileChannel& channel() const { return table_.channel(); }

 private:
  bool holds(std::uint32_t mini_sector) const;
  bool position_beyond_file(std::uint64_t position, std::uint64_t count);
  std::uint32_t next(std::uint32_t mini_sector);

  SectorAllocationTable& table_;
  std::uint64_t size_;
  SectorChain chain_;
  SectorChain mini_fat_;
};

/// A stream in mini sectors as a source; lives no longer than the mini stream.
class MiniStreamSource final : public ChainSource {
 public:
  /// `size` is the recorded size in bytes, below the cutoff. Raises 1021266 as MiniStream::follow does.
  MiniStreamSource(MiniStream& mini_stream, std::uint32_t first, std::uint64_t size);

  std::optional<std::uint64_t> file_offset(std::uint64_t position) const override;
  std::uint64_t contiguous(std::uint64_t position) const override;

 private:
  std::size_t read_at(std::uint64_t position, std::byte* destination, std::size_t count) override;

  MiniStream& mini_stream_;
  std::vector<std::uint32_t> mini_sectors_;
};

}  // namespace VRX::System::CFI
