#include "vault/file_table.h"

#include "vault/row_writer.h"

namespace vault {

namespace {

#define VRII_KNOWN_FILE                                                                                     \
  "SELECT file.id, file.present, file.verdict, file.name, identity.device, identity.inode, identity.size, " \
  "identity.modified_ns FROM file LEFT JOIN identity ON identity.file = file.id "

KnownFile known_file(SQLite::Statement& row) {
  KnownFile known;
  known.id = row.getColumn(0).getInt64();
  known.present = row.getColumn(1).getInt() != 0;
  known.verdict = row.getColumn(2).getString();
  if (!row.getColumn(5).isNull()) {
    known.identity = FileIdentity{row.getColumn(4).getInt64(), row.getColumn(5).getInt64(),
                                  row.getColumn(6).getInt64(), row.getColumn(7).getInt64()};
  }
  return known;
}

std::optional<KnownFile> first_known(SQLite::Statement& statement) {
  std::optional<KnownFile> known;
  if (statement.executeStep()) known = known_file(statement);
  statement.reset();
  return known;
}

void bind_name(SQLite::Statement& statement, int index, const std::string& name) {
  statement.bind(index, name.data(), static_cast<int>(name.size()));
}

}  // namespace

FileTable::FileTable(SQLite::Database& database, const Run& run, Files files)
    : database_(database),
      parts_(database),
      run_(run),
      files_(files),
      find_(database, VRII_KNOWN_FILE "WHERE file.name = ? AND file.present = 1"),
      find_gone_(database, VRII_KNOWN_FILE "WHERE file.name = ? AND file.present = 0 ORDER BY file.id DESC"),
      find_inode_(database, VRII_KNOWN_FILE "WHERE identity.inode = ? ORDER BY file.present DESC, file.id"),
      find_sha256_(database,
                   "SELECT file.id, name, present, identity.file IS NOT NULL FROM file LEFT JOIN identity "
                   "ON identity.file = file.id WHERE sha256 = ? ORDER BY present DESC, file.id"),
      write_(
          database,
          "INSERT INTO file (id, name, base_name, present, verdict, verdict_since, looks_like, size, "
          "modified, "
          "sha256, release, release_number, errors, warnings, notes, verified_bytes, failed_bytes, "
          "decoded_bytes, "
          "opaque_bytes, unclaimed_bytes, container, units, description, customer_area, part_identifier, "
          "machine_name, brepsolid_version, first_run) "
          "VALUES (?1, ?2, ?3, 1, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18, ?19, "
          "?20, "
          "?21, ?22, ?23, ?24, ?25, ?26, ?27) "
          "ON CONFLICT (id) DO UPDATE SET name = ?2, base_name = ?3, present = 1, verdict = ?4, "
          "verdict_since = iif(verdict = ?4 AND present = 1, verdict_since, ?5), looks_like = ?6, size = ?7, "
          "modified = ?8, sha256 = ?9, release = ?10, release_number = ?11, errors = ?12, warnings = ?13, "
          "notes = ?14, verified_bytes = ?15, failed_bytes = ?16, decoded_bytes = ?17, opaque_bytes = ?18, "
          "unclaimed_bytes = ?19, container = ?20, units = ?21, description = ?22, customer_area = ?23, "
          "part_identifier = ?24, machine_name = ?25, brepsolid_version = ?26"),
      place_(
          database,
          "UPDATE file SET name = ?2, base_name = ?3, verdict_since = iif(present = 1, verdict_since, ?4), "
          "present = 1 WHERE id = ?1"),
      remove_(database, "UPDATE file SET present = 0 WHERE id = ?"),
      forget_identity_(database, "DELETE FROM identity WHERE file = ?"),
      write_identity_(
          database,
          "INSERT OR REPLACE INTO identity (file, device, inode, size, modified_ns) VALUES (?, ?, ?, ?, ?)"),
      observe_(
          database,
          "INSERT OR REPLACE INTO observation (file, run, name, present, verdict, size, modified, sha256, "
          "release, errors, warnings, notes) "
          "SELECT id, ?2, name, present, verdict, size, modified, sha256, release, errors, warnings, notes "
          "FROM file WHERE id = ?1 AND NOT EXISTS (SELECT 1 FROM observation AS last WHERE last.file = ?1 "
          "AND last.run = (SELECT max(run) FROM observation WHERE file = ?1) "
          "AND last.name = file.name AND last.present = file.present AND last.verdict = file.verdict "
          "AND last.size IS file.size AND last.modified IS file.modified AND last.sha256 IS file.sha256 "
          "AND last.release IS file.release AND last.errors = file.errors AND last.warnings = file.warnings "
          "AND last.notes = file.notes)") {}

std::optional<KnownFile> FileTable::find(const std::string& name) {
  bind_name(find_, 1, name);
  if (auto known = first_known(find_)) return known;
  bind_name(find_gone_, 1, name);
  return first_known(find_gone_);
}

std::optional<KnownFile> FileTable::find_moved(const FileIdentity& identity) {
  find_inode_.bind(1, identity.inode);
  std::optional<KnownFile> moved;
  while (!moved && find_inode_.executeStep()) {
    const KnownFile known = known_file(find_inode_);
    if (known.identity != identity) continue;
    const auto there = identity_of(find_inode_.getColumn(3).getString());
    if (!there || there->inode != identity.inode || there->device != identity.device) moved = known;
  }
  find_inode_.reset();
  return moved;
}

std::optional<std::int64_t> FileTable::find_twin(const std::string& sha256) {
  std::optional<std::int64_t> twin;
  find_sha256_.bind(1, sha256);
  while (!twin && find_sha256_.executeStep()) {
    const bool was_present = find_sha256_.getColumn(2).getInt() != 0;
    const bool was_here = find_sha256_.getColumn(3).getInt() != 0;
    const bool has_gone = files_ == Files::here && was_here && is_gone(find_sha256_.getColumn(1).getString());
    if (!was_present || has_gone) twin = find_sha256_.getColumn(0).getInt64();
  }
  find_sha256_.reset();
  return twin;
}

/// The file that a document is about; none for a new one.
std::optional<std::int64_t> FileTable::target_of(const std::string& name, const Json& document) {
  const auto known = find(name);
  if (known && known->present) return known->id;
  if (const auto sha256 = text(member(&document, "file"), "sha256")) {
    if (const auto twin = find_twin(std::string(*sha256))) return twin;
  }
  return known ? std::optional(known->id) : std::nullopt;
}

void FileTable::write_file(std::optional<std::int64_t> id, const std::string& name, const Json& document) {
  const Json* const file = member(&document, "file");
  const Json* const counts = member(&document, "counts");
  const Json* const release = member(&document, "release");
  const Json* const sums = member(member(&document, "bytes"), "by_protection");
  const Json* const header = member(&document, "header");
  RowWriter row(write_);
  row.number(id).blob(name).blob(base_name_of(name)).text(text(&document, "verdict")).number(run_.started);
  row.text(text(&document, "looks_like")).number(number(file, "size")).number(time(file, "modified"));
  row.text(text(file, "sha256")).text(text(release, "name")).number(number(release, "number"));
  for (const char* severity : {"error", "warning", "note"}) row.number(number(counts, severity).value_or(0));
  for (const char* protection : {"verified", "failed", "decoded", "opaque", "unclaimed"}) {
    row.number(number(sums, protection));
  }
  row.text(text(member(&document, "container"), "kind")).text(text(header, "units"));
  row.text(text(header, "description")).text(text(header, "customer_area"));
  row.text(text(header, "unique_part_identifier")).text(text(header, "machine_name"));
  row.text(text(header, "brepsolid_version")).number(run_.id).write();
}

FileTable::Recorded FileTable::record(const std::string& name, const Json& document,
                                      const std::optional<FileIdentity>& identity) {
  const auto known = target_of(name, document);
  if (known) parts_.clear(*known);
  write_file(known, name, document);
  const std::int64_t id = known.value_or(database_.getLastInsertRowid());
  parts_.write(id, base_name_of(name), document);
  if (known || identity) write_identity(id, identity);
  observe(id);
  return {id, !known};
}

void FileTable::place(std::int64_t id, const std::string& name) {
  const std::string base_name = base_name_of(name);
  RowWriter(place_).number(id).blob(name).blob(base_name).number(run_.started).write();
  parts_.rename(id, base_name);
  observe(id);
}

void FileTable::remove(std::int64_t id) {
  RowWriter(remove_).number(id).write();
  observe(id);
}

void FileTable::write_identity(std::int64_t id, const std::optional<FileIdentity>& identity) {
  if (!identity) {
    RowWriter(forget_identity_).number(id).write();
    return;
  }
  RowWriter(write_identity_)
      .number(id)
      .number(identity->device)
      .number(identity->inode)
      .number(identity->size)
      .number(identity->modified_ns)
      .write();
}

/// Nothing is written when the last observation says the same.
void FileTable::observe(std::int64_t id) { RowWriter(observe_).number(id).number(run_.id).write(); }

}  // namespace vault
