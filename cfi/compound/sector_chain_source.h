#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "cfi/compound/chain_source.h"
#include "cfi/compound/sector_chain.h"

namespace VRX::System::CFI {

/// A stream in a chain of sectors as a source.
class SectorChainSource final : public ChainSource {
 public:
  /// `size` is the recorded size in bytes. Raises 1021266 when the chain runs in a circle.
  SectorChainSource(SectorAllocationTable& table, std::uint32_t first, std::uint64_t size);

  std::uint64_t available() const override { return std::min(size(), channel_.size()); }
  std::optional<std::uint64_t> file_offset(std::uint64_t position) const override;
  std::uint64_t contiguous(std::uint64_t position) const override;

 private:
  std::size_t read_at(std::uint64_t position, std::byte* destination, std::size_t count) override {
    return chain_.read_at(position, destination, count);
  }

  SectorChain chain_;
  const FileChannel& channel_;
};

}  // namespace VRX::System::CFI
