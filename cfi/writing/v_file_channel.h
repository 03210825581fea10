#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "cfi/file_channel.h"

namespace VRX::System::CFI {

/// A regular file that is open for reading and writing; everything goes straight to the system.
class VFileChannel final : public FileChannel {
 public:
  /// Opens an existing file. Raises what FileChannel raises.
  explicit VFileChannel(std::string name);

  std::size_t write_at(std::uint64_t offset, const void* bytes, std::size_t count) override;
  void set_size(std::uint64_t size) override;
  void flush() override;
};

}  // namespace VRX::System::CFI
