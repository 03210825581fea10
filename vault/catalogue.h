#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <optional>
#include <string>

#include "vault/writer_lock.h"

namespace vault {

/// An open catalogue. Every failure raises 641002 or SQLite::Exception, which Catalogue::explain() puts into
/// words.
class Catalogue {
 public:
  enum class Access { read, write };

  /// Opens a catalogue; for writing one is made where there is no file, or an empty one. What is no
  /// catalogue, or has a schema of another release, is refused and left as it is.
  Catalogue(const std::string& file_name, Access access);

  SQLite::Database& database() { return *database_; }

  /// Of a catalogue open for writing.
  const WriterLock& lock() const { return *lock_; }

  /// The failure of a call of the database in words, with the name of the file.
  static std::string explain(const std::string& file_name, const SQLite::Exception& failure);

 private:
  void open_for_reading();
  void open_for_writing();
  bool is_empty();
  void create();
  void check_kind();
  int pragma(const char* name);
  [[noreturn]] void refuse(const std::string& why) const;

  std::string file_name_;
  std::optional<WriterLock> lock_;  ///< let go after the database: closing the file ends SQLite's locks on it
  std::optional<SQLite::Database> database_;
};

}  // namespace vault
