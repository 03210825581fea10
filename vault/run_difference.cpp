#include "vault/run_difference.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <charconv>
#include <string>

#include "support/document_output.h"
#include "support/error_escape.h"
#include "support/printable.h"
#include "support/system_failure.h"
#include "vault/catalogue.h"
#include "vault/part_verdict.h"

namespace vault {

namespace {

enum Column { kOldName, kOldVerdict, kNewName, kNewVerdict, kSameContent };

/// Of each file observed between the runs its state after either. A file that is not there has no verdict.
constexpr const char* kSelect =
    "WITH changed AS (SELECT DISTINCT file FROM observation WHERE run > min(?1, ?2) AND run <= max(?1, ?2)), "
    "pair AS (SELECT file, (SELECT max(run) FROM observation AS o WHERE o.file = changed.file AND o.run <= "
    "?1) AS a, "
    "(SELECT max(run) FROM observation AS o WHERE o.file = changed.file AND o.run <= ?2) AS b FROM changed) "
    "SELECT old.name, old.verdict, new.name, new.verdict, old.size IS new.size AND old.modified IS "
    "new.modified AND "
    "old.sha256 IS new.sha256 AND old.release IS new.release AND old.errors IS new.errors AND "
    "old.warnings IS new.warnings AND old.notes IS new.notes FROM pair "
    "LEFT JOIN observation AS old ON old.file = pair.file AND old.run = a AND old.present = 1 "
    "LEFT JOIN observation AS new ON new.file = pair.file AND new.run = b AND new.present = 1 "
    "WHERE old.file IS NOT NULL OR new.file IS NOT NULL ORDER BY coalesce(new.name, old.name)";

std::int64_t find_run(SQLite::Database& database, const std::string& text) {
  std::int64_t id = 0;
  const char* const end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, id);
  SQLite::Statement run(database, "SELECT 1 FROM run WHERE id = ?");
  run.bind(1, id);
  if (error == std::errc() && next == end && run.executeStep()) return id;
  throw support::ErrorEscape("vault", support::kSystemFailure,
                             "the catalogue has no run " + support::printable(text));
}

/// Empty when nothing has changed.
std::string deed_of(SQLite::Statement& row) {
  if (row.getColumn(kOldVerdict).isNull()) return "new";
  if (row.getColumn(kNewVerdict).isNull()) return "vanished";
  if (row.getColumn(kOldVerdict).getString() != row.getColumn(kNewVerdict).getString()) return "verdict";
  if (row.getColumn(kSameContent).getInt() == 0) return "changed";
  return row.getColumn(kOldName).getString() == row.getColumn(kNewName).getString() ? "" : "moved";
}

std::string verdict_of(const SQLite::Column& column) { return column.isNull() ? "-" : column.getString(); }

std::string line_of(SQLite::Statement& row, const std::string& deed) {
  std::string line = deed;
  line.resize(10, ' ');
  line += verdict_of(row.getColumn(kOldVerdict)) + " -> " + verdict_of(row.getColumn(kNewVerdict));
  line.resize(std::max<std::size_t>(line.size() + 2, 36), ' ');
  const bool is_there = !row.getColumn(kNewName).isNull();
  line += support::printable(row.getColumn(is_there ? kNewName : kOldName).getString());
  const bool was_elsewhere = is_there && !row.getColumn(kOldName).isNull() &&
                             row.getColumn(kOldName).getString() != row.getColumn(kNewName).getString();
  if (was_elsewhere) line += " (was " + support::printable(row.getColumn(kOldName).getString()) + ")";
  return line + "\n";
}

}  // namespace

int print_difference(const VaultOptions& options) {
  Catalogue catalogue(options.catalogue, Catalogue::Access::read);
  SQLite::Database& database = catalogue.database();
  SQLite::Transaction one_view(database);
  SQLite::Statement row(database, kSelect);
  row.bind(1, find_run(database, options.operands.at(0)));
  row.bind(2, find_run(database, options.operands.at(1)));
  support::DocumentOutput output;
  int status = kAllSound;
  while (row.executeStep()) {
    const std::string deed = deed_of(row);
    if (deed.empty()) continue;
    output.write(line_of(row, deed));
    const bool is_there = !row.getColumn(kNewVerdict).isNull();
    if (is_there) status = std::max(status, status_of(row.getColumn(kNewVerdict).getString()));
  }
  output.commit();
  return status;
}

}  // namespace vault
