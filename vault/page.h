#pragma once

#include "vault/vault_options.h"

namespace vault {

/// Writes one HTML page that shows the catalogue: verdicts, releases, sizes, bytes by protection, growth and
/// damage over the runs, and the bad files with their findings. It has no script and fetches nothing. Returns
/// the exit status that the files lead to. Raises 641002 and SQLite::Exception.
int write_page(const VaultOptions& options);

}  // namespace vault
