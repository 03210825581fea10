#pragma once

#include "support/console.h"
#include "vault/vault_options.h"

namespace vault {

/// Brings the catalogue up to date with what lies in the folders, and prints what came of it. Returns the
/// exit status that the files lead to. Raises 641002 and SQLite::Exception; all that was committed stays, and
/// the next update of the same folders goes on from there.
int update_catalogue(const VaultOptions& options, support::Console& console);

}  // namespace vault
