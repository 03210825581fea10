#include "vault/vault_run.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include "support/console.h"
#include "support/error_escape.h"
#include "support/program.h"
#include "support/system_failure.h"
#include "vault/catalogue.h"
#include "vault/catalogue_check.h"
#include "vault/file_sheet.h"
#include "vault/import.h"
#include "vault/listing.h"
#include "vault/page.h"
#include "vault/part_verdict.h"
#include "vault/run_difference.h"
#include "vault/update.h"

namespace vault {

namespace {

int run_command(const VaultOptions& options, support::Console& console) {
  switch (options.command) {
    case Command::help:
      console.print_text(help_text());
      break;
    case Command::version:
      console.print("vr_vault %s\n", support::kVersionText);
      break;
    case Command::update:
      return update_catalogue(options, console);
    case Command::import:
      return import_documents(options, console);
    case Command::list:
      return list_files(options);
    case Command::show:
      return show_file(options);
    case Command::diff:
      return print_difference(options);
    case Command::check:
      return check_catalogue(options, console);
    case Command::page:
      return write_page(options);
  }
  return kAllSound;
}

}  // namespace

int run_vault(const VaultOptions& options, support::Console& console) {
  try {
    return run_command(options, console);
  } catch (const SQLite::Exception& failure) {
    throw support::ErrorEscape("vault", support::kSystemFailure,
                               Catalogue::explain(options.catalogue, failure));
  }
}

}  // namespace vault
