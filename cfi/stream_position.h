#pragma once

#include <cstdint>
#include <limits>

#include "support/byte_source.h"

namespace VRX::System::CFI {

/// The farthest position, in bytes, that a source can be set to.
inline constexpr std::uint64_t kFarthestPosition = std::numeric_limits<std::int64_t>::max();

}  // namespace VRX::System::CFI

/// The position as the readers of part records ask for it, in bytes from the start of the source.
std::uint64_t CFI_get_position(const support::ByteSource& source);

/// Sets it; raises 1021001 beyond kFarthestPosition.
void CFI_set_position(support::ByteSource& source, std::uint64_t position);
