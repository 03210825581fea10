#pragma once

#include <cstdint>

#include "cfi/container_layout.h"

namespace test_support {

/// Looks whether every range that it is handed lies inside the file, whatever damage the file has.
class LayoutGuard final : public VRX::System::CFI::LayoutSink {
 public:
  explicit LayoutGuard(std::uint64_t file_size) : file_size_(file_size) {}

  void structure(const VRX::System::CFI::LayoutRange& range) override { look(range.offset, range.length); }
  void stream_run(const VRX::System::CFI::StreamRun& run) override { look(run.file_offset, run.length); }
  bool all_inside() const { return all_inside_; }

 private:
  void look(std::uint64_t offset, std::uint64_t length) {
    if (length == 0 || length > file_size_ || offset > file_size_ - length) all_inside_ = false;
  }

  std::uint64_t file_size_;
  bool all_inside_ = true;
};

}  // namespace test_support
