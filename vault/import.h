#pragma once

#include "support/console.h"
#include "vault/vault_options.h"

namespace vault {

/// Takes documents of parts, one a line, into the catalogue, and prints what came of it. A line that holds
/// none is told on standard error, and the rest is taken. Returns the exit status that the files lead to, or
/// kFailed when there was such a line. Raises 641002 and SQLite::Exception.
int import_documents(const VaultOptions& options, support::Console& console);

}  // namespace vault
