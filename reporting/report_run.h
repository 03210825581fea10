#pragma once

#include "reporting/report_options.h"
#include "support/console.h"

namespace reporting {

/// What the process ends with; of several the highest.
enum ExitStatus : int {
  kAllSound = 0,
  kSomeFindings = 1,    ///< some file is suspect or damaged, or no part
  kSomeUnreadable = 2,  ///< some file could not be examined
  kFailed = 3,          ///< the command line was wrong, or an output failed
};

/// Examines the files that are asked for and writes their documents. Returns the exit status. Raises 641002
/// when an output or the list of names fails. The console shows how far the work has come.
int run_report(const ReportOptions& options, support::Console& console);

}  // namespace reporting
