#pragma once

#include "vault/vault_options.h"

namespace vault {

/// Prints each file that the second run leaves in another state than the first did: what became of it, both
/// verdicts and the name. Returns the exit status that the files lead to as they are after the second run.
/// Raises 641002, also when there is no such run, and SQLite::Exception.
int print_difference(const VaultOptions& options);

}  // namespace vault
