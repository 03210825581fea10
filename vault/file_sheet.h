#pragma once

#include "vault/vault_options.h"

namespace vault {

/// Prints what the catalogue holds of one file, that is there or was: facts, findings, references both ways
/// and what the runs observed. Returns the exit status that it leads to. Raises 641002, also when no file has
/// the name, and SQLite::Exception.
int show_file(const VaultOptions& options);

}  // namespace vault
