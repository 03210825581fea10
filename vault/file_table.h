#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>

#include "vault/file_identity.h"
#include "vault/part_rows.h"
#include "vault/run_log.h"

namespace vault {

/// A file that the catalogue knows.
struct KnownFile {
  std::int64_t id = 0;
  bool present = false;
  std::string verdict;
  std::optional<FileIdentity> identity;  ///< none: it is to be examined each time
};

/// The files of a catalogue as a run changes them, and what the run observed of each. All members raise
/// SQLite::Exception.
class FileTable {
 public:
  enum class Files {
    here,       ///< names are those of files of this host
    elsewhere,  ///< whether a file is there cannot be seen
  };

  /// The database outlives the object.
  FileTable(SQLite::Database& database, const Run& run, Files files);

  /// The file that has this name, or had it last.
  std::optional<KnownFile> find(const std::string& name);

  /// A file that is this one by its identity and whose own name leads elsewhere now.
  std::optional<KnownFile> find_moved(const FileIdentity& identity);

  struct Recorded {
    std::int64_t id = 0;
    bool is_new = false;
  };

  /// The file with the name, as its document says it is; made when there is none.
  Recorded record(const std::string& name, const Json& document, const std::optional<FileIdentity>& identity);

  /// A known file is there, unchanged, under this name.
  void place(std::int64_t id, const std::string& name);

  /// A known file is there no longer.
  void remove(std::int64_t id);

 private:
  std::optional<std::int64_t> target_of(const std::string& name, const Json& document);
  std::optional<std::int64_t> find_twin(const std::string& sha256);
  void write_file(std::optional<std::int64_t> id, const std::string& name, const Json& document);
  void write_identity(std::int64_t id, const std::optional<FileIdentity>& identity);
  void observe(std::int64_t id);

  SQLite::Database& database_;
  PartRows parts_;
  Run run_;
  Files files_;
  SQLite::Statement find_;
  SQLite::Statement find_gone_;
  SQLite::Statement find_inode_;
  SQLite::Statement find_sha256_;
  SQLite::Statement write_;
  SQLite::Statement place_;
  SQLite::Statement remove_;
  SQLite::Statement forget_identity_;
  SQLite::Statement write_identity_;
  SQLite::Statement observe_;
};

}  // namespace vault
