#pragma once

#include "cfi/cfi_error_codes.h"
#include "support/error_escape.h"

namespace VRX::System::CFI {

/// Takes a step that damage may end, so that what comes after it is still done: false when it was ended. A
/// failing system (1020059) ends more than the step.
template <typename Step>
bool gets_through(Step step) {
  try {
    step();
    return true;
  } catch (const support::ErrorEscape& damage) {
    if (damage.code() == kSystemCallFailed) throw;
    return false;
  }
}

}  // namespace VRX::System::CFI
