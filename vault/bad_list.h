#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "support/byte_sink.h"

namespace vault {

/// Writes the bad files with their findings as a table of a page, the newest first. Raises what the sink
/// raises, and SQLite::Exception.
void write_bad_list(SQLite::Database& database, support::ByteSink& out);

}  // namespace vault
