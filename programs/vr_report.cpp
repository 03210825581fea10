#include <cstdio>
#include <new>
#include <string>

#include "reporting/report_options.h"
#include "reporting/report_run.h"
#include "reporting/rule_texts.h"
#include "support/cleanup_signals.h"
#include "support/console.h"
#include "support/error_escape.h"
#include "support/program.h"

namespace {

constexpr const char* kUsage =
    "Usage: vr_report [OPTION]... FILE|FOLDER...\n"
    "The facts and findings of KX part files as JSON, JSON Lines or an HTML page.\n\n";

constexpr const char* kStatusHelp =
    "\nExit status: 0 all files are sound; 1 some have findings or are no part;\n"
    "2 some could not be examined; 3 the command line was wrong or an output failed.\n";

int run(int argument_count, const char* const* arguments, support::Console& console) {
  using Job = reporting::ReportOptions::Job;
  const reporting::ReportOptions options = reporting::parse_report_options(argument_count, arguments);
  switch (options.job) {
    case Job::report:
      return reporting::run_report(options, console);
    case Job::help:
      console.print_text(kUsage + support::options_text(reporting::report_options()) + kStatusHelp);
      break;
    case Job::version:
      console.print("vr_report %s\n", support::kVersionText);
      break;
    case Job::explain_rule:
      console.print_text(reporting::rule_text(options.rule));
      break;
    case Job::list_rules:
      console.print_text(reporting::rule_list());
      break;
  }
  return reporting::kAllSound;
}

}  // namespace

int main(int argument_count, char** arguments) {
  support::clean_up_on_signals();
  support::Console console;
  support::register_console(console);
  support::hold_standard_streams();
  if (argument_count > 0) support::set_program_name(arguments[0]);
  int exit_status = reporting::kFailed;
  try {
    exit_status = run(argument_count, arguments, console);
  } catch (const support::ErrorEscape& escape) {
    console.print_message("%s: %s\n", support::program_name(), escape.what());
  } catch (const std::bad_alloc&) {
    std::fputs("out of memory\n", stderr);
  }
  if (!console.flush()) {
    std::fprintf(stderr, "%s: could not write to standard output\n", support::program_name());
    exit_status = reporting::kFailed;
  }
  return exit_status;
}
