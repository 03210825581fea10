#include "vault/file_sheet.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>

#include "inspect/report/json_writer.h"
#include "support/document_output.h"
#include "support/error_escape.h"
#include "support/printable.h"
#include "support/system_failure.h"
#include "vault/catalogue.h"
#include "vault/part_verdict.h"

namespace vault {

namespace {

/// Rows of a statement about one file, as lines under a heading; without rows there is no heading.
struct SheetTable {
  const char* heading;
  const char* select;  ///< of the file ?1; all columns are texts
};

#define VRII_UTC(column) "strftime('%Y-%m-%dT%H:%M:%SZ', " column ", 'unixepoch')"

constexpr SheetTable kTables[] = {
    {"Findings",
     "SELECT severity, rule, message || coalesce(' (at byte ' || file_offset || ')', ''), effect "
     "FROM finding WHERE file = ?1 ORDER BY number"},
    {"Partitions",
     "SELECT id, type_name, length || ' bytes at ' || file_offset FROM partition WHERE file = ?1 ORDER BY "
     "number"},
    {"Streams", "SELECT length || ' bytes', path FROM stream WHERE file = ?1 ORDER BY number"},
    {"JT bodies", "SELECT kind, id, length || ' bytes' FROM jt_body WHERE file = ?1 ORDER BY number"},
    {"References",
     "SELECT name, iif(max(target IS NOT NULL), 'in the catalogue', 'missing') FROM where_used WHERE file = "
     "?1 "
     "GROUP BY name"},
    {"Referred to by", "SELECT DISTINCT used_by FROM where_used WHERE target = ?1 ORDER BY used_by"},
    {"Saves",
     "SELECT " VRII_UTC("saved_at") ", user, program_version FROM save WHERE file = ?1 ORDER BY number"},
    {"Observed",
     "SELECT 'run ' || run, " VRII_UTC("started") ", iif(present, verdict, 'vanished'), size || ' bytes', "
                                                  "observation.name FROM observation JOIN run ON run.id = "
                                                  "run WHERE file = ?1 ORDER BY run"},
};

constexpr const char* kFacts[] = {"Verdict",         "Since",         "Release",     "Size",
                                  "Modified",        "SHA-256",       "Description", "Customer area",
                                  "Part identifier", "Verified bytes"};

constexpr const char* kSelectFile =
    "SELECT id, verdict, name, iif(present, verdict, verdict || ', vanished'), " VRII_UTC(
        "verdict_since") ", release, size, " VRII_UTC("modified") ", sha256, description, customer_area, "
    "part_identifier, verified_bytes FROM file WHERE name = ? ORDER BY present DESC, id DESC LIMIT 1";

constexpr int kFirstFact = 3;

void write_facts(SQLite::Statement& file, support::ByteSink& out) {
  constexpr std::size_t kWidth = 17;
  out.write("File:            " + support::printable(file.getColumn(2).getString()) + "\n");
  int column = kFirstFact;
  for (const std::string fact : kFacts) {
    const SQLite::Column value = file.getColumn(column++);
    if (value.isNull()) continue;
    out.write(fact + ":" + std::string(kWidth - 1 - fact.size(), ' ') +
              support::printable(value.getString()) + "\n");
  }
}

void write_table(SQLite::Database& database, const SheetTable& table, std::int64_t file,
                 support::ByteSink& out) {
  SQLite::Statement row(database, table.select);
  row.bind(1, file);
  bool begun = false;
  while (row.executeStep()) {
    if (!begun) out.write(std::string("\n") + table.heading + ":\n");
    begun = true;
    std::string line;
    for (int i = 0; i < row.getColumnCount(); ++i) {
      if (!row.getColumn(i).isNull()) line += "  " + support::printable(row.getColumn(i).getString());
    }
    out.write(line + "\n");
  }
}

}  // namespace

int show_file(const VaultOptions& options) {
  Catalogue catalogue(options.catalogue, Catalogue::Access::read);
  SQLite::Database& database = catalogue.database();
  SQLite::Transaction one_view(database);
  const std::string& name = options.operands.front();
  SQLite::Statement file(database, kSelectFile);
  file.bind(1, name.data(), static_cast<int>(name.size()));
  if (!file.executeStep()) {
    throw support::ErrorEscape("vault", support::kSystemFailure,
                               "the catalogue has no file " + support::printable(name));
  }
  support::DocumentOutput output;
  write_facts(file, output);
  for (const SheetTable& table : kTables) write_table(database, table, file.getColumn(0).getInt64(), output);
  output.commit();
  return status_of(file.getColumn(1).getString());
}

}  // namespace vault
