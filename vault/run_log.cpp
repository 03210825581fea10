#include "vault/run_log.h"

#include <ctime>

#include "vault/row_writer.h"

namespace vault {

Run begin_run(SQLite::Database& database, const std::string& kind, const std::vector<std::string>& sources) {
  std::string joined;
  for (const std::string& source : sources) joined.append(source).push_back('\0');
  SQLite::Statement last(database,
                         "SELECT id, started, finished, kind, sources FROM run ORDER BY id DESC LIMIT 1");
  if (last.executeStep() && last.getColumn(2).isNull() && last.getColumn(3).getString() == kind &&
      last.getColumn(4).getString() == joined) {
    return {last.getColumn(0).getInt64(), last.getColumn(1).getInt64()};
  }
  last.reset();
  const std::int64_t now = std::time(nullptr);
  SQLite::Statement insert(database, "INSERT INTO run (kind, sources, started) VALUES (?, ?, ?)");
  RowWriter(insert).text(kind).blob(joined).number(now).write();
  return {database.getLastInsertRowid(), now};
}

void finish_run(SQLite::Database& database, const Run& run) {
  SQLite::Statement update(
      database,
      "UPDATE run SET finished = ?2, (files, bytes, sound, suspect, damaged, unreadable, not_a_part) = "
      "(SELECT count(*), coalesce(sum(size), 0), coalesce(sum(verdict = 'sound'), 0), "
      "coalesce(sum(verdict = 'suspect'), 0), coalesce(sum(verdict = 'damaged'), 0), "
      "coalesce(sum(verdict = 'unreadable'), 0), coalesce(sum(verdict = 'not_a_part'), 0) "
      "FROM file WHERE present = 1) WHERE id = ?1");
  RowWriter(update).number(run.id).number(std::time(nullptr)).write();
}

}  // namespace vault
