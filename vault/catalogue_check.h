#pragma once

#include "support/console.h"
#include "vault/vault_options.h"

namespace vault {

/// Judges the database: pages, indexes, rows that belong to no file, the index of words. Prints what is
/// wrong, or that nothing is. Returns 0 or kFailed. Raises 641002 and SQLite::Exception.
int check_catalogue(const VaultOptions& options, support::Console& console);

}  // namespace vault
