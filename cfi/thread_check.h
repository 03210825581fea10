#pragma once

#include <thread>

#include "cfi/cfi_error_codes.h"

namespace VRX::System::CFI {

/// What may only be used by the thread that made it.
class ThreadCheck {
 public:
  /// Raises 1021253 in any other thread.
  void require_own_thread() const {
    if (std::this_thread::get_id() == owner_) return;
    throw make_error(kInternalFailure,
                     "a storage file is used by another thread than the one that opened it");
  }

 private:
  std::thread::id owner_ = std::this_thread::get_id();
};

}  // namespace VRX::System::CFI
