#include <cstdio>
#include <new>

#include "support/cleanup_signals.h"
#include "support/console.h"
#include "support/error_escape.h"
#include "support/program.h"
#include "vault/part_verdict.h"
#include "vault/vault_options.h"
#include "vault/vault_run.h"

int main(int argument_count, char** arguments) {
  support::clean_up_on_signals();
  support::Console console;
  support::register_console(console);
  support::hold_standard_streams();
  if (argument_count > 0) support::set_program_name(arguments[0]);
  int exit_status = vault::kFailed;
  try {
    exit_status = vault::run_vault(vault::parse_vault_options(argument_count, arguments), console);
  } catch (const support::ErrorEscape& escape) {
    console.print_message("%s: %s\n", support::program_name(), escape.what());
  } catch (const std::bad_alloc&) {
    std::fputs("out of memory\n", stderr);
  }
  if (!console.flush()) {
    std::fprintf(stderr, "%s: could not write to standard output\n", support::program_name());
    exit_status = vault::kFailed;
  }
  return exit_status;
}
