#pragma once

#include <cstdint>

namespace inspect {

inline constexpr std::int32_t kFirstRelease = 1;
inline constexpr std::int32_t kLastRelease = 70;

constexpr bool is_known_release(std::int32_t release) {
  return release >= kFirstRelease && release <= kLastRelease;
}

/// The name of a release number, 0 to 72: the two texts of the filing modes follow the last release, and a
/// development part of the last release is named by the first of them.
const char* release_name(std::int32_t release);

/// "complete part ..." and "selectively filed part".
const char* filing_mode_name(bool complete);

}  // namespace inspect
