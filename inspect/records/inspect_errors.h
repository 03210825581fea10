#pragma once

#include "inspect/records/inspect_file.h"
#include "support/error_escape.h"

namespace inspect {

inline constexpr int kContentError = 99;  ///< code of the escape of inspect_error
inline constexpr int kInspectorError = 641001;

/// A fatal error in the file's content: written to both streams, the file failed; raises code 99.
[[noreturn, gnu::format(printf, 2, 3)]] void inspect_error(InspectFile& file, const char* format, ...);

/// "unexpected read error %d": what inspect_error does, even while errors are quiet, for the file is not to
/// blame.
[[noreturn]] void inspect_read_error(InspectFile& file, int status);

/// A fatal error of the run: written, both streams flushed, exit status 1; with escape_on_failure raises
/// 641001 instead.
[[noreturn, gnu::format(printf, 2, 3)]] void inspect_fatal(InspectFile& file, const char* format, ...);

/// A warning about the content: written to both streams. Marks nothing by itself.
[[gnu::format(printf, 2, 3)]] void inspect_warning(InspectFile& file, const char* format, ...);

/// The driver's warning reporter, for trouble that is not the file's: "%s: %s\n" to both streams.
void report_warning(const InspectOptions& options, const char* message);

/// The driver's failure reporter: "%s: In file %s\n %s\n" to both streams; the file has failed and has
/// problems, and work goes on.
[[gnu::format(printf, 2, 3)]] void report_problem(InspectFile& file, const char* format, ...);

/// Reports an escape that reached a place where work can go on: nothing more for code 99, which has been
/// reported where it was raised, else its message through the failure reporter. The file has failed.
void report_escape(InspectFile& file, const support::ErrorEscape& escape);

/// While one lives, inspect_error and inspect_fatal raise their escape and do nothing else: for content that
/// a report can do without. That the system cannot read is never kept quiet.
class QuietErrors {
 public:
  explicit QuietErrors(InspectFile& file) : file_(file), before_(file.quiet) { file.quiet = true; }
  ~QuietErrors() { file_.quiet = before_; }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

 private:
  InspectFile& file_;
  bool before_;
};

}  // namespace inspect
