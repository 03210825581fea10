#pragma once

#include <cstdint>

namespace VRX::System::CFI {

/// Finds out, while a chain of links is followed, that it runs in a circle: Brent's method. Takes no memory
/// and at most three times as many steps as the chain has different links.
class ChainLoopGuard {
 public:
  explicit ChainLoopGuard(std::uint32_t first) : marked_(first) {}

  /// True when the chain has come back to a link that it has been at.
  bool comes_back(std::uint32_t next) {
    if (next == marked_) return true;
    if (++steps_ == limit_) {
      marked_ = next;
      steps_ = 0;
      limit_ *= 2;
    }
    return false;
  }

 private:
  std::uint32_t marked_;
  std::uint64_t steps_ = 0;
  std::uint64_t limit_ = 1;
};

}  // namespace VRX::System::CFI
