#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vault {

/// One update or import.
struct Run {
  std::int64_t id = 0;
  std::int64_t started = 0;  ///< seconds since 1970
};

/// Goes on with the last run when it came to no end and was asked for the same; else begins one. `kind` is
/// "update" or "import", `sources` what it was asked for. Raises SQLite::Exception.
Run begin_run(SQLite::Database& database, const std::string& kind, const std::vector<std::string>& sources);

/// The run has come to its end: notes what the catalogue holds now. Raises SQLite::Exception.
void finish_run(SQLite::Database& database, const Run& run);

}  // namespace vault
