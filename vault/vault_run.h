#pragma once

#include "support/console.h"
#include "vault/vault_options.h"

namespace vault {

/// Does what is asked for; returns the exit status. Raises 641002 when the catalogue or an output fails.
int run_vault(const VaultOptions& options, support::Console& console);

}  // namespace vault
