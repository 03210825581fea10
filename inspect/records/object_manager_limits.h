#pragma once

#include <cstddef>
#include <string>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// What one object-manager partition may make the program keep, far above what real parts hold. Together
/// these stay within 64 MiB, whatever the file says.
inline constexpr std::size_t kMaxSchemas = 100'000;
inline constexpr std::size_t kMaxSharedStrings = 2'000'000;
inline constexpr std::size_t kMaxSharedStringBytes = std::size_t{16} << 20U;
inline constexpr std::size_t kMaxAuditLinks = 1'100'000;              ///< audit objects and entries together
inline constexpr std::size_t kMaxTextBytes = std::size_t{12} << 20U;  ///< names of classes, users, programs
inline constexpr std::size_t kMaxChainHeads = 1'000'000;

/// inspect_error when `count` has reached `limit`.
void check_om_limit(InspectFile& file, std::size_t count, std::size_t limit, const char* of_what);

/// Texts may be stored with a terminator, which is no part of them.
void cut_at_terminator(std::string& text);

}  // namespace inspect
