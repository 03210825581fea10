#include <cstdio>
#include <new>
#include <string>

#include "inspect/options.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/signals.h"
#include "inspect/vr_inspect_internal.h"
#include "support/console.h"
#include "support/error_escape.h"
#include "support/printable.h"
#include "support/program.h"
#include "support/text_format.h"

namespace {

/// Memory that one file could not get may be there for the next.
int inspect_file(const std::string& name, inspect::InspectOptions& options, inspect::RunState& run) {
  try {
    return inspect::inspect_part_file(name, options, run);
  } catch (const std::bad_alloc&) {
    run.console.report_message(
        support::format_text("%s: In file %s\n out of memory\n", support::program_name(),
                             support::printable(name).c_str()),
        support::Echo::on);
    return 1;
  }
}

int inspect_files(int argument_count, const char* const* arguments, support::Console& console) {
  inspect::InspectOptions options;
  const int first_file = inspect::parse_options(argument_count, arguments, options, console);
  options.text_list.assign(arguments + first_file, arguments + argument_count);
  inspect::RunState run{.console = console};
  int exit_status = 0;
  for (const std::string& name : options.text_list) {
    if (console.failed()) break;
    if (inspect_file(name, options, run) != 0) exit_status = 1;
  }
  return exit_status;
}

/// The way out of an escape that no file's driver could catch.
int report_uncaught(const support::ErrorEscape& escape, support::Console& console) {
  console.report_message(support::format_text("%s: %s\n", support::program_name(), escape.what()),
                         support::Echo::on);
  return 1;
}

}  // namespace

int main(int argument_count, char** arguments) {
  support::Console console;
  support::register_console(console);
  inspect::register_signal_handlers();
  support::hold_standard_streams();
  int exit_status = 1;
  try {
    if (argument_count > 0) support::set_program_name(arguments[0]);
    exit_status = inspect_files(argument_count, arguments, console);
  } catch (const inspect::FatalEscape&) {
    exit_status = 1;  // it has been reported
  } catch (const support::ErrorEscape& escape) {
    exit_status = report_uncaught(escape, console);
  } catch (const std::bad_alloc&) {
    std::fputs("out of memory\n", stderr);
  }
  if (!console.flush()) {
    std::fprintf(stderr, "%s: could not write to standard output\n", support::program_name());
    exit_status = 1;
  }
  return exit_status;
}
