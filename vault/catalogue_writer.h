#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vault/batch.h"
#include "vault/file_table.h"
#include "vault/part_json.h"

namespace vault {

/// What a run came to.
struct RunCounts {
  std::uint64_t added = 0;
  std::uint64_t examined = 0;  ///< known files that were examined again
  std::uint64_t unchanged = 0;
  std::uint64_t moved = 0;
  std::uint64_t vanished = 0;
  int status = 0;  ///< the highest of the files
};

/// One run that writes: files in batches, and which of the known ones it came by. Raises 641002 and
/// SQLite::Exception.
class CatalogueWriter {
 public:
  /// Opens the catalogue and begins the run, or goes on with it. For `kind` and `sources` see begin_run(); at
  /// most `batch_files` files make one transaction.
  CatalogueWriter(const std::string& file_name, const std::string& kind,
                  const std::vector<std::string>& sources, FileTable::Files files, std::size_t batch_files);

  std::optional<KnownFile> find(const std::string& name) { return table_->find(name); }
  std::optional<KnownFile> find_moved(const FileIdentity& identity) { return table_->find_moved(identity); }

  /// A file was examined.
  void record(const std::string& name, const PartJson& document, const std::optional<FileIdentity>& identity);

  /// A known file is as it was.
  void keep(const KnownFile& file, const std::string& name);

  /// A known file is as it was, under this name.
  void move(const KnownFile& file, const std::string& name);

  /// Notes which of the known files below a folder are gone, though the run did not come by them.
  void remove_gone(const std::string& folder);

  void tick() { batch_.tick(); }

  /// The run has come to its end.
  RunCounts finish();

  std::int64_t run() const { return run_.id; }

 private:
  /// True the first time.
  bool see(std::int64_t file);
  void place(const KnownFile& file, const std::string& name);

  Catalogue catalogue_;
  Batch batch_;
  Run run_;
  std::optional<FileTable> table_;
  std::vector<bool> seen_;  ///< by the ids of files
  RunCounts counts_;
};

}  // namespace vault
