#include "vault/catalogue_writer.h"

#include <algorithm>

#include "vault/part_verdict.h"

namespace vault {

CatalogueWriter::CatalogueWriter(const std::string& file_name, const std::string& kind,
                                 const std::vector<std::string>& sources, FileTable::Files files,
                                 std::size_t batch_files)
    : catalogue_(file_name, Catalogue::Access::write), batch_(catalogue_, batch_files) {
  batch_.begin();
  run_ = begin_run(catalogue_.database(), kind, sources);
  table_.emplace(catalogue_.database(), run_, files);
  batch_.commit();
}

bool CatalogueWriter::see(std::int64_t file) {
  const auto index = static_cast<std::size_t>(file);
  if (index >= seen_.size()) seen_.resize(index + 1);
  if (seen_[index]) return false;
  seen_[index] = true;
  return true;
}

void CatalogueWriter::record(const std::string& name, const PartJson& document,
                             const std::optional<FileIdentity>& identity) {
  batch_.begin();
  const FileTable::Recorded recorded = table_->record(name, document.root(), identity);
  if (see(recorded.id)) ++(recorded.is_new ? counts_.added : counts_.examined);
  counts_.status = std::max(counts_.status, status_of(document.verdict()));
  batch_.end_file();
}

void CatalogueWriter::place(const KnownFile& file, const std::string& name) {
  batch_.begin();
  table_->place(file.id, name);
  batch_.end_file();
}

void CatalogueWriter::keep(const KnownFile& file, const std::string& name) {
  if (!file.present) place(file, name);
  if (!see(file.id)) return;
  ++counts_.unchanged;
  counts_.status = std::max(counts_.status, status_of(file.verdict));
}

void CatalogueWriter::move(const KnownFile& file, const std::string& name) {
  place(file, name);
  if (!see(file.id)) return;
  ++counts_.moved;
  counts_.status = std::max(counts_.status, status_of(file.verdict));
}

void CatalogueWriter::remove_gone(const std::string& folder) {
  std::string first = folder;
  while (first.ends_with('/')) first.pop_back();
  std::string last = first;
  first += '/';
  last += '0';  // the byte behind the slash
  SQLite::Statement known(
      catalogue_.database(),
      "SELECT id, name FROM file WHERE present = 1 AND (name = ?3 OR (name >= ?1 AND name < ?2))");
  known.bind(1, first.data(), static_cast<int>(first.size()));
  known.bind(2, last.data(), static_cast<int>(last.size()));
  known.bind(3, folder.data(), static_cast<int>(folder.size()));
  std::vector<std::int64_t> gone;
  while (known.executeStep()) {
    const std::int64_t id = known.getColumn(0).getInt64();
    const auto index = static_cast<std::size_t>(id);
    const bool seen = index < seen_.size() && seen_[index];
    if (!seen && is_gone(known.getColumn(1).getString())) gone.push_back(id);
  }
  known.reset();
  for (const std::int64_t id : gone) {
    batch_.begin();
    table_->remove(id);
    batch_.end_file();
  }
  counts_.vanished += gone.size();
}

RunCounts CatalogueWriter::finish() {
  batch_.begin();
  finish_run(catalogue_.database(), run_);
  batch_.commit();
  return counts_;
}

}  // namespace vault
