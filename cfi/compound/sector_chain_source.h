#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "cfi/compound/sector_chain.h"
#include "support/byte_source.h"

namespace VRX::System::CFI {

/// A stream in a chain of sectors as a source.
class SectorChainSource final : public support::ByteSource {
 public:
  /// `size` is the recorded size in bytes. Raises 1021266 when the chain runs in a circle.
  SectorChainSource(SectorAllocationTable& table, std::uint32_t first, std::uint64_t size);

  std::size_t read(void* destination, std::size_t count) override;
  std::uint64_t position() const override { return position_; }
  void set_position(std::uint64_t position) override { position_ = position; }

  /// The recorded size, or what the chain has room for when that is less.
  std::uint64_t size() const override { return size_; }
  std::uint64_t available() const override { return std::min(size_, channel_.size()); }
  std::optional<std::uint64_t> file_offset(std::uint64_t position) const override;
  std::uint64_t contiguous(std::uint64_t position) const override;

 private:
  FileChannel::User user_;
  SectorChain chain_;
  std::uint64_t size_;
  const FileChannel& channel_;
  std::uint64_t position_ = 0;
};

}  // namespace VRX::System::CFI
