#pragma once

namespace inspect {

/// Written after every usage error and after the banner of a run without arguments.
extern const char* const kShortHelp;

/// Written by -help.
extern const char* const kLongUsage;

}  // namespace inspect
