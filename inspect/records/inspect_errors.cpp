#include "inspect/records/inspect_errors.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "support/console.h"
#include "support/diagnostics.h"
#include "support/error_escape.h"
#include "support/program.h"
#include "support/text_format.h"

namespace inspect {

namespace {

support::Echo echo_of(const InspectOptions& options) {
  return options.print_banner ? support::Echo::on : support::Echo::off;
}

void report(const InspectFile& file, const std::string& message) {
  support::report_message(support::format_text("%s: In file %s\n %s\n", support::program_name(),
                                               file.shown_name.c_str(), message.c_str()),
                          echo_of(file.options));
}

}  // namespace

void inspect_error(InspectFile& file, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string message = support::format_text_list(format, arguments);
  va_end(arguments);
  if (!file.quiet) {
    report(file, message);
    file.failed = true;
  }
  throw support::ErrorEscape("vr_inspect_internal", kContentError, std::move(message));
}

void inspect_read_error(InspectFile& file, int status) {
  const std::string message = support::format_text("unexpected read error %d", status);
  report(file, message);
  file.failed = true;
  throw support::ErrorEscape("vr_inspect_internal", kContentError, message);
}

void inspect_fatal(InspectFile& file, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string message = support::format_text_list(format, arguments);
  va_end(arguments);
  if (file.quiet) throw support::ErrorEscape("vr_inspect_internal", kInspectorError, message);
  support::report_message(support::format_text("%s: %s\n", support::program_name(), message.c_str()),
                          echo_of(file.options));
  file.failed = true;
  if (file.escape_on_failure) {
    throw support::ErrorEscape("vr_inspect_internal", kInspectorError,
                               support::format_text("vr_inspect failure: %s", format));
  }
  support::flush_console();
  std::fflush(stderr);
  std::exit(1);
}

void inspect_warning(InspectFile& file, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string message = support::format_text_list(format, arguments);
  va_end(arguments);
  support::report_message(support::format_text("%s: In file %s \n %s\n", support::program_name(),
                                               file.shown_name.c_str(), message.c_str()),
                          echo_of(file.options));
}

void report_warning(const InspectOptions& options, const char* message) {
  support::report_message(support::format_text("%s: %s\n", support::program_name(), message),
                          echo_of(options));
}

void report_problem(InspectFile& file, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string message = support::format_text_list(format, arguments);
  va_end(arguments);
  report(file, message);
  file.failed = true;
  file.problems_found = true;
}

void report_escape(InspectFile& file, const support::ErrorEscape& escape) {
  static const support::DiagnosticsChannel channel("error_escapes");
  channel.print("error escape %d from %s, line %d: %s\n", escape.code(), escape.module(), escape.line(),
                escape.what());
  file.failed = true;
  file.problems_found = true;
  if (escape.code() != kContentError) report(file, escape.message());
}

}  // namespace inspect
