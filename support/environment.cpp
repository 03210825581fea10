#include "support/environment.h"

#include <cstdlib>

namespace support {

bool syslog_forced() {
  static const bool forced = std::getenv("VRII_FORCE_SYSLOG") != nullptr;
  return forced;
}

std::string temporary_folder() {
  for (const char* variable : {"VRII_TMP_DIR", "TMPDIR"}) {
    const char* folder = std::getenv(variable);
    if (folder != nullptr && *folder != '\0') return folder;
  }
  return "/tmp";
}

bool debug_checks_wanted() {
  if (std::getenv("VRII_DISPLAY_DEBUG") != nullptr) return true;
  const char* level = std::getenv("VRII_CHECKING_LEVEL");
  return level != nullptr && std::string_view(level) != "0";
}

std::string_view wanted_diagnostics() {
  static const char* const names = std::getenv("VRII_DISPLAY_DEBUG");
  return names == nullptr ? std::string_view{} : std::string_view{names};
}

}  // namespace support
