#pragma once

#include <string>

#include "support/error_escape.h"

namespace support {

inline constexpr int kSystemFailure = 641002;

/// The escape for a call of the system that failed: "could not <deed>: <text of `error`>".
ErrorEscape system_failure(const std::string& deed, int error);

}  // namespace support
