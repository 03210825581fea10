#include "vault/listing.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <string>
#include <vector>

#include "inspect/report/json_writer.h"
#include "support/document_output.h"
#include "support/printable.h"
#include "vault/catalogue.h"
#include "vault/part_json.h"
#include "vault/part_rows.h"
#include "vault/part_verdict.h"

namespace vault {

namespace {

enum Column { kName, kVerdict, kSince, kRelease, kSize, kModified, kErrors, kWarnings, kNotes, kId };

constexpr const char* kSelect =
    "SELECT name, verdict, verdict_since, release, size, modified, errors, warnings, notes, id FROM file "
    "WHERE present = 1";

/// A condition and what its parameter is; each stands for itself so that indexes serve it.
struct Condition {
  const char* text;
  std::string value;
  bool is_blob = false;
};

/// The words as an expression of the index: each for itself, whatever it holds, all of them wanted.
std::string all_words(const std::string& words) {
  std::string expression;
  std::size_t at = 0;
  while ((at = words.find_first_not_of(" \t\n", at)) != std::string::npos) {
    const std::size_t end = std::min(words.find_first_of(" \t\n", at), words.size());
    expression += '"';
    for (const char letter : words.substr(at, end - at)) expression.append(letter == '"' ? 2 : 1, letter);
    expression += "\" ";
    at = end;
  }
  return expression;
}

std::vector<Condition> conditions_of(const FileFilter& filter) {
  std::vector<Condition> conditions;
  if (filter.verdict) conditions.push_back({" AND verdict = ?", *filter.verdict});
  if (filter.release) conditions.push_back({" AND release = ?", *filter.release});
  if (filter.rule)
    conditions.push_back({" AND id IN (SELECT file FROM finding WHERE rule = ?)", *filter.rule});
  if (filter.references) {
    // A name with a path in front is meant exactly; one without is the last piece of any.
    const bool is_exact = base_name_of(*filter.references) != *filter.references;
    const char* const text = is_exact ? " AND id IN (SELECT file FROM reference WHERE name = ?)"
                                      : " AND id IN (SELECT file FROM reference WHERE base_name = ?)";
    conditions.push_back({text, *filter.references, true});
  }
  if (filter.words) {
    conditions.push_back(
        {" AND id IN (SELECT rowid FROM search WHERE search MATCH ?)", all_words(searchable(*filter.words))});
  }
  return conditions;
}

SQLite::Statement select(SQLite::Database& database, const FileFilter& filter) {
  const std::vector<Condition> conditions = conditions_of(filter);
  std::string text = kSelect;
  for (const Condition& condition : conditions) text += condition.text;
  if (filter.since) text += " AND verdict_since >= ?";
  SQLite::Statement statement(database, text + " ORDER BY name");
  int index = 0;
  for (const Condition& condition : conditions) {
    ++index;
    if (condition.is_blob) {
      statement.bind(index, condition.value.data(), static_cast<int>(condition.value.size()));
    } else {
      statement.bind(index, condition.value);
    }
  }
  if (filter.since) statement.bind(++index, *filter.since);
  return statement;
}

/// Verdict, since when, release, name; a value that is missing is "-".
std::string line_of(SQLite::Statement& row) {
  char form[32] = {};
  std::string line = row.getColumn(kVerdict).getString();
  line.append(std::max<std::size_t>(line.size() + 1, 11) - line.size(), ' ');
  line.append(inspect::utc_time(row.getColumn(kSince).getInt64(), form)).append("  ");
  const bool has_release = !row.getColumn(kRelease).isNull();
  std::string release = has_release ? support::printable(row.getColumn(kRelease).getString()) : "-";
  release.append(std::max<std::size_t>(release.size() + 1, 10) - release.size(), ' ');
  return line + release + support::printable(row.getColumn(kName).getString()) + "\n";
}

class JsonRows {
 public:
  JsonRows(SQLite::Database& database, support::ByteSink& out)
      : out_(out), rules_(database, "SELECT DISTINCT rule FROM finding WHERE file = ? ORDER BY rule") {}

  void add(SQLite::Statement& row) {
    out_.write(count_++ == 0 ? "[\n" : ",\n");
    inspect::JsonWriter json(out_, inspect::JsonWriter::Layout::one_line);
    char form[32] = {};
    json.begin_object();
    json.text_member("name", row.getColumn(kName).getString());
    json.member("verdict", std::string_view(row.getColumn(kVerdict).getString()));
    json.member("since", inspect::utc_time(row.getColumn(kSince).getInt64(), form));
    json.text_or_null("release", row.getColumn(kRelease).getString());
    write_number(json, "size", row.getColumn(kSize));
    if (row.getColumn(kModified).isNull()) {
      json.null_member("modified");
    } else {
      json.time_member("modified", row.getColumn(kModified).getInt64());
    }
    json.begin_object("counts");
    write_number(json, "error", row.getColumn(kErrors));
    write_number(json, "warning", row.getColumn(kWarnings));
    write_number(json, "note", row.getColumn(kNotes));
    json.end_object();
    write_rules(json, row.getColumn(kId).getInt64());
    json.end_object();
    json.flush();
  }

  void end() { out_.write(count_ == 0 ? "[]\n" : "\n]\n"); }

 private:
  static void write_number(inspect::JsonWriter& json, const char* name, const SQLite::Column& column) {
    if (column.isNull()) {
      json.null_member(name);
    } else {
      json.member(name, column.getInt64());
    }
  }

  void write_rules(inspect::JsonWriter& json, std::int64_t file) {
    json.begin_array("rules");
    rules_.bind(1, file);
    while (rules_.executeStep()) json.value(std::string_view(rules_.getColumn(0).getString()));
    rules_.reset();
    json.end_array();
  }

  support::ByteSink& out_;
  SQLite::Statement rules_;
  std::size_t count_ = 0;
};

}  // namespace

int list_files(const VaultOptions& options) {
  Catalogue catalogue(options.catalogue, Catalogue::Access::read);
  SQLite::Transaction one_view(catalogue.database());
  SQLite::Statement row = select(catalogue.database(), options.filter);
  support::DocumentOutput output;
  JsonRows json(catalogue.database(), output);
  int status = kAllSound;
  while (row.executeStep()) {
    status = std::max(status, status_of(row.getColumn(kVerdict).getString()));
    switch (options.form) {
      case ListForm::lines:
        output.write(line_of(row));
        break;
      case ListForm::names:
        output.write(row.getColumn(kName).getString() + '\0');
        break;
      case ListForm::json:
        json.add(row);
        break;
    }
  }
  if (options.form == ListForm::json) json.end();
  output.commit();
  return status;
}

}  // namespace vault
