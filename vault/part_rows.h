#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "vault/json_fields.h"

namespace vault {

/// Writes what a document says of the inside of a part: findings, partitions, solids, streams, JT bodies,
/// references, saves, and the words that are searched for.
class PartRows {
 public:
  /// The database outlives the object. Raises SQLite::Exception, as all its members do.
  explicit PartRows(SQLite::Database& database);

  /// Takes away the rows of a file.
  void clear(std::int64_t file);

  /// For a file without rows.
  void write(std::int64_t file, const std::string& base_name, const Json& document);

  /// The file has another name.
  void rename(std::int64_t file, const std::string& base_name);

 private:
  void write_findings(std::int64_t file, const Json& document);
  void write_partitions(std::int64_t file, const Json& document);
  void write_solid(std::int64_t file, std::int64_t partition_number, const Json& solid);
  void write_streams(std::int64_t file, const Json& document);
  void write_jt(std::int64_t file, const Json& document);
  void write_references(std::int64_t file, const Json& document);
  void write_saves(std::int64_t file, const Json& document);
  void write_words(std::int64_t file, const std::string& base_name, const Json& document);

  SQLite::Statement finding_;
  SQLite::Statement partition_;
  SQLite::Statement solid_;
  SQLite::Statement stream_;
  SQLite::Statement jt_body_;
  SQLite::Statement reference_;
  SQLite::Statement save_;
  SQLite::Statement words_;
  SQLite::Statement rename_;
  std::vector<SQLite::Statement> clear_;
};

/// What stands behind the last "/", or behind the last "\" of a name that has no "/".
std::string base_name_of(const std::string& name);

/// Text for the index of words: bytes that are no UTF-8 become U+FFFD.
std::string searchable(std::string_view bytes);

}  // namespace vault
