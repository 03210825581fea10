#include "vault/part_rows.h"

#include <set>
#include <string>
#include <vector>

#include "support/utf8.h"
#include "vault/row_writer.h"

namespace vault {

namespace {

constexpr const char* kClear[] = {
    "DELETE FROM finding WHERE file = ?",   "DELETE FROM solid WHERE file = ?",
    "DELETE FROM partition WHERE file = ?", "DELETE FROM stream WHERE file = ?",
    "DELETE FROM jt_body WHERE file = ?",   "DELETE FROM reference WHERE file = ?",
    "DELETE FROM save WHERE file = ?",      "DELETE FROM search WHERE rowid = ?",
};

}  // namespace

PartRows::PartRows(SQLite::Database& database)
    : finding_(database,
               "INSERT INTO finding (file, number, rule, severity, caused_by, message, file_offset, length, "
               "stream, "
               "stream_offset, partition, field, found, expected, effect) "
               "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
      partition_(
          database,
          "INSERT INTO partition (file, number, id, type, type_name, data, marker, file_offset, length, "
          "stream, stream_offset, om_version, om_objects, om_saved_at, om_carries_checksum) "
          "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
      solid_(
          database,
          "INSERT INTO solid (file, partition_number, brepsolid_version, file_format, body_id, compressed, "
          "stored_length, expanded_length, extract_possible, extract_sound) "
          "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
      stream_(database,
              "INSERT INTO stream (file, number, path, listed_in, file_offset, length, framed, "
              "beyond_end_of_file) "
              "VALUES (?, ?, ?, ?, ?, ?, ?, ?)"),
      jt_body_(database,
               "INSERT INTO jt_body (file, number, kind, stream, id, stream_offset, length, file_offset) "
               "VALUES (?, ?, ?, ?, ?, ?, ?, ?)"),
      reference_(database,
                 "INSERT INTO reference (file, number, name, base_name, stream, times, names_part) "
                 "VALUES (?, ?, ?, ?, ?, ?, ?)"),
      save_(database,
            "INSERT INTO save (file, number, saved_at, user, part_version, machine_type, program_version) "
            "VALUES (?, ?, ?, ?, ?, ?, ?)"),
      words_(database,
             "INSERT INTO search (rowid, name, description, customer_area, users) VALUES (?, ?, ?, ?, ?)"),
      rename_(database, "UPDATE search SET name = ? WHERE rowid = ?") {
  for (const char* statement : kClear) clear_.emplace_back(database, statement);
}

void PartRows::clear(std::int64_t file) {
  for (SQLite::Statement& statement : clear_) RowWriter(statement).number(file).write();
}

void PartRows::rename(std::int64_t file, const std::string& base_name) {
  RowWriter(rename_).text(searchable(base_name)).number(file).write();
}

void PartRows::write(std::int64_t file, const std::string& base_name, const Json& document) {
  write_findings(file, document);
  write_partitions(file, document);
  write_streams(file, document);
  write_jt(file, document);
  write_references(file, document);
  write_saves(file, document);
  write_words(file, base_name, document);
}

void PartRows::write_findings(std::int64_t file, const Json& document) {
  std::int64_t count = 0;
  for (const Json& finding : elements(&document, "findings")) {
    const Json* const where = member(&finding, "where");
    RowWriter row(finding_);
    row.number(file).number(++count);
    row.text(text(&finding, "rule").value_or("")).text(text(&finding, "severity").value_or(""));
    row.text(text(&finding, "caused_by")).text(text(&finding, "message"));
    row.number(number(where, "file_offset")).number(number(where, "length"));
    row.blob(bytes(where, "stream"))
        .number(number(where, "stream_offset"))
        .number(number(where, "partition"));
    row.text(text(where, "field")).text(json_text(&finding, "found")).text(json_text(&finding, "expected"));
    row.text(text(&finding, "effect")).write();
  }
}

void PartRows::write_partitions(std::int64_t file, const Json& document) {
  std::int64_t count = 0;
  for (const Json& partition : elements(&document, "partitions")) {
    const Json* const where = member(&partition, "where");
    const Json* const om = member(&partition, "object_manager");
    RowWriter row(partition_);
    row.number(file).number(++count).number(number(&partition, "id")).number(number(&partition, "type"));
    row.text(text(&partition, "type_name"))
        .number(number(&partition, "data"))
        .text(text(&partition, "marker"));
    row.number(number(where, "file_offset")).number(number(where, "length"));
    row.blob(bytes(where, "stream")).number(number(where, "stream_offset"));
    row.number(number(om, "version")).number(number(om, "objects")).number(time(om, "saved_at"));
    row.number(number(om, "carries_checksum")).write();
    const Json* const solid = member(&partition, "solid");
    if (solid != nullptr && solid->IsObject()) write_solid(file, count, *solid);
  }
}

void PartRows::write_solid(std::int64_t file, std::int64_t partition_number, const Json& solid) {
  const Json* const expanded = member(&solid, "expanded_length");
  const Json* const extract = member(&solid, "extract");
  RowWriter row(solid_);
  row.number(file).number(partition_number).text(text(&solid, "brepsolid_version"));
  row.text(text(&solid, "file_format"))
      .number(number(&solid, "body_id"))
      .number(number(&solid, "compressed"));
  row.number(number(&solid, "stored_length")).number(number(expanded, "computed"));
  row.number(number(extract, "possible")).number(number(extract, "sound")).write();
}

void PartRows::write_streams(std::int64_t file, const Json& document) {
  std::int64_t count = 0;
  for (const Json& stream : elements(&document, "streams")) {
    const Json* const where = member(&stream, "where");
    RowWriter row(stream_);
    row.number(file).number(++count).blob(bytes(&stream, "path").value_or("")).text(text(&stream, "index"));
    row.number(number(where, "file_offset")).number(number(where, "length"));
    row.number(number(&stream, "framed")).number(number(&stream, "beyond_end_of_file")).write();
  }
}

void PartRows::write_jt(std::int64_t file, const Json& document) {
  std::int64_t count = 0;
  for (const char* kind : {"JT", "DisplayJT"}) {
    const Json* const table = member(member(&document, "jt"), kind);
    for (const Json& body : elements(table, "bodies")) {
      RowWriter row(jt_body_);
      row.number(file).number(++count).text(kind).blob(bytes(table, "stream")).number(number(&body, "id"));
      row.number(number(&body, "stream_offset")).number(number(&body, "length"));
      row.number(number(&body, "file_offset")).write();
    }
  }
}

void PartRows::write_references(std::int64_t file, const Json& document) {
  std::int64_t count = 0;
  for (const Json& reference : elements(&document, "references")) {
    const std::string name = bytes(&reference, "name").value_or("");
    RowWriter row(reference_);
    row.number(file).number(++count).blob(name).blob(base_name_of(name)).blob(bytes(&reference, "stream"));
    row.number(number(&reference, "times")).number(number(&reference, "names_part")).write();
  }
}

void PartRows::write_saves(std::int64_t file, const Json& document) {
  std::int64_t count = 0;
  for (const Json& save : elements(&document, "filing_history")) {
    RowWriter row(save_);
    row.number(file).number(++count).number(time(&save, "saved_at")).text(text(&save, "user"));
    row.number(number(&save, "part_version")).number(number(&save, "machine_type"));
    row.text(text(&save, "program_version")).write();
  }
}

void PartRows::write_words(std::int64_t file, const std::string& base_name, const Json& document) {
  std::set<std::string_view> names;
  for (const Json& save : elements(&document, "filing_history")) {
    if (const auto user = text(&save, "user")) names.insert(*user);
  }
  std::string users;
  for (const std::string_view name : names) users.append(users.empty() ? "" : "\n").append(name);
  const Json* const header = member(&document, "header");
  RowWriter row(words_);
  row.number(file).text(searchable(base_name)).text(text(header, "description"));
  row.text(text(header, "customer_area")).text(users).write();
}

std::string base_name_of(const std::string& name) {
  const std::size_t slash = name.rfind('/');
  return name.substr((slash == std::string::npos ? name.rfind('\\') : slash) + 1);
}

std::string searchable(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    const std::size_t length = support::first_utf8_character(bytes).length;
    text.append(length == 0 ? std::string_view("\xEF\xBF\xBD") : bytes.substr(0, length));
    bytes.remove_prefix(length == 0 ? 1 : length);
  }
  return text;
}

}  // namespace vault
