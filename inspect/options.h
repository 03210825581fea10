#pragma once

#include <span>

#include "inspect/inspect_options.h"
#include "support/console.h"

namespace inspect {

/// One switch of the command line. The same table feeds the parser, the manual page and the completions.
struct CommandSwitch {
  const char* name;         ///< with its leading "-"
  const char* arguments;    ///< of the switch itself, for people; "" for none
  const char* description;  ///< one sentence for people
};

std::span<const CommandSwitch> command_switches();

/// Fills `options` from the switches and returns the index of the first part-file name. Returns only when at
/// least one name follows the switches; every other outcome writes its text and ends the process: status 0
/// for -help and for no arguments at all, 1 for a wrong command line. Raises 1510005 when the output name of
/// an extraction has 3469 bytes or more.
int parse_options(int argument_count, const char* const* arguments, InspectOptions& options,
                  support::Console& console);

/// Writes "<program>: <message>" to standard error and again to standard output; exits with status 1.
[[noreturn, gnu::format(printf, 2, 3)]] void fatal_usage_exit(support::Console& console, const char* format,
                                                              ...);

}  // namespace inspect
