#pragma once

#include "vault/vault_options.h"

namespace vault {

/// Prints the files that are present and fit the filter, in the order of their names' bytes. Returns the exit
/// status that they lead to. Raises 641002 and SQLite::Exception.
int list_files(const VaultOptions& options);

}  // namespace vault
