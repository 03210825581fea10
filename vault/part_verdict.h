#pragma once

#include <array>
#include <string_view>

namespace vault {

inline constexpr std::array<std::string_view, 5> kVerdicts = {"sound", "suspect", "damaged", "unreadable",
                                                              "not_a_part"};

/// What the process ends with; of several the highest.
enum ExitStatus : int {
  kAllSound = 0,
  kSomeFindings = 1,    ///< some file is suspect or damaged, or no part
  kSomeUnreadable = 2,  ///< some file could not be examined
  kFailed = 3,          ///< the command line, the catalogue or an output
};

constexpr int status_of(std::string_view verdict) {
  if (verdict == "sound") return kAllSound;
  return verdict == "unreadable" ? kSomeUnreadable : kSomeFindings;
}

}  // namespace vault
