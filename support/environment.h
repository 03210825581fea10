#pragma once

#include <string>
#include <string_view>

namespace support {

/// VRII_FORCE_SYSLOG is set: errors and warnings also go to the system log.
bool syslog_forced();

/// VRII_TMP_DIR, else the system's temporary folder.
std::string temporary_folder();

/// VRII_DISPLAY_DEBUG is set, or VRII_CHECKING_LEVEL is set to anything but exactly "0".
bool debug_checks_wanted();

/// The value of VRII_DISPLAY_DEBUG, empty when it is not set: names of diagnostics channels, comma-separated.
std::string_view wanted_diagnostics();

}  // namespace support
