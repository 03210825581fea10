#include "vault/page.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "inspect/report/json_writer.h"
#include "support/document_output.h"
#include "support/error_escape.h"
#include "support/system_failure.h"
#include "vault/bad_list.h"
#include "vault/catalogue.h"
#include "vault/page_frame.h"
#include "vault/part_verdict.h"
#include "vault/svg_plots.h"

namespace vault {

namespace {

std::int64_t count(SQLite::Database& database, const std::string& select) {
  return database.execAndGet(select).getInt64();
}

std::string times(std::int64_t number, const char* one, const char* many) {
  return grouped(number) + ' ' + (number == 1 ? one : many);
}

std::string utc(std::int64_t seconds) {
  char form[32] = {};
  return std::string(inspect::utc_time(seconds, form));
}

void write_lead(SQLite::Database& database, support::ByteSink& out) {
  const std::int64_t files = count(database, "SELECT count(*) FROM file WHERE present = 1");
  const std::int64_t bad = count(database, "SELECT count(*) FROM bad");
  const std::int64_t newly_bad = count(database, "SELECT count(*) FROM newly_bad");
  std::string text =
      "<p class=\"lead\">" + times(files, "file", "files") + ", " + times(bad, "bad one", "bad ones");
  text += bad == 0 ? "." : ", " + grouped(newly_bad) + " of them since the latest run.";
  SQLite::Statement run(database, "SELECT id, started, finished IS NULL FROM run ORDER BY id DESC LIMIT 1");
  text += "</p>\n<p class=\"quiet\">";
  if (run.executeStep()) {
    text += "Run " + run.getColumn(0).getString() + " of " + utc(run.getColumn(1).getInt64());
    text += run.getColumn(2).getInt() != 0 ? ", which has not come to its end.\n" : ".\n";
  }
  out.write(text + "</p>\n");
}

void write_verdicts(SQLite::Database& database, support::ByteSink& out) {
  constexpr std::string_view kLooks[] = {"sound", "suspect", "damaged", "unreadable", "other"};
  constexpr const char* kLabels[] = {"sound", "suspect", "damaged", "unreadable", "no part"};
  std::vector<Bar> bars;
  for (std::size_t i = 0; i < kVerdicts.size(); ++i) {
    const std::string where = "verdict = '" + std::string(kVerdicts[i]) + "'";
    bars.push_back(
        {kLabels[i], count(database, "SELECT count(*) FROM file WHERE present = 1 AND " + where), kLooks[i]});
  }
  out.write("<h2>Verdicts</h2>\n" + bar_plot("Files by verdict", bars));
}

void write_releases(SQLite::Database& database, support::ByteSink& out) {
  constexpr std::size_t kMostBars = 24;
  SQLite::Statement row(database,
                        "SELECT release, sum(files) FROM releases GROUP BY release ORDER BY 2 DESC, 1 DESC");
  std::vector<Bar> bars;
  std::int64_t others = 0;
  while (row.executeStep()) {
    const SQLite::Column release = row.getColumn(0);
    if (bars.size() < kMostBars) {
      bars.push_back({release.isNull() ? "unknown" : release.getString(), row.getColumn(1).getInt64(),
                      release.isNull() ? "other" : "accent"});
    } else {
      others += row.getColumn(1).getInt64();
    }
  }
  if (others > 0) bars.push_back({"all others", others, "other"});
  out.write("<h2>Releases</h2>\n" + bar_plot("Files by the release that wrote them", bars));
}

void write_sizes(SQLite::Database& database, support::ByteSink& out) {
  constexpr const char* kLabels[] = {"below 10 kB", "10 to 100 kB", "100 kB to 1 MB",
                                     "1 to 10 MB",  "10 to 100 MB", "100 MB and more"};
  std::vector<Bar> bars;
  std::int64_t least = 0;
  std::int64_t next = 10'000;
  for (const char* label : kLabels) {
    std::string where = " AND size >= " + std::to_string(least);
    if (label != kLabels[5]) where += " AND size < " + std::to_string(next);
    bars.push_back({label, count(database, "SELECT count(*) FROM file WHERE present = 1" + where), "accent"});
    least = next;
    next *= 10;
  }
  out.write("<h2>Sizes</h2>\n" + bar_plot("Files by size", bars));
}

void write_protection(SQLite::Database& database, support::ByteSink& out) {
  std::vector<Bar> pieces;
  const struct {
    const char* label;
    const char* look;
  } rows[] = {{"verified", "sound"},
              {"failed", "damaged"},
              {"decoded", "decoded"},
              {"opaque", "opaque"},
              {"unclaimed", "unclaimed"}};
  for (const auto& row : rows) {
    const std::string sum = std::string("sum(") + row.label + "_bytes)";
    pieces.push_back({row.label,
                      count(database, "SELECT coalesce(" + sum + ", 0) FROM file WHERE present = 1"),
                      row.look});
  }
  out.write("<h2>Bytes by protection</h2>\n" + strip_plot("Bytes of all files by protection", pieces) +
            "<p class=\"quiet\">Verified: under a checksum that agrees. Failed: under one that does not. "
            "Decoded: read "
            "and plausible. Opaque: not interpreted. Unclaimed: belongs to nothing.</p>\n");
}

void write_runs(SQLite::Database& database, support::ByteSink& out) {
  SQLite::Statement row(database,
                        "SELECT * FROM (SELECT id, started, files, damaged, suspect, unreadable FROM run "
                        "WHERE finished IS NOT NULL ORDER BY id DESC LIMIT 500) ORDER BY id");
  std::vector<Line> files = {{"files", {}, "accent"}};
  std::vector<Line> bad = {
      {"damaged", {}, "damaged"}, {"suspect", {}, "suspect"}, {"unreadable", {}, "unreadable"}};
  std::string first;
  std::string last;
  while (row.executeStep()) {
    last = "run " + row.getColumn(0).getString() + ", " + utc(row.getColumn(1).getInt64()).substr(0, 10);
    if (first.empty()) first = last;
    files[0].values.push_back(row.getColumn(2).getInt64());
    for (std::size_t i = 0; i < bad.size(); ++i)
      bad[i].values.push_back(row.getColumn(3 + static_cast<int>(i)).getInt64());
  }
  if (first.empty()) return;
  out.write("<h2>Growth over the runs</h2>\n" + line_plot("Files after each run", files, first, last));
  out.write("<h2>Damage over the runs</h2>\n" + line_plot("Bad files after each run", bad, first, last));
}

int status_of_all(SQLite::Database& database) {
  SQLite::Statement row(database, "SELECT DISTINCT verdict FROM file WHERE present = 1");
  int status = kAllSound;
  while (row.executeStep()) status = std::max(status, status_of(row.getColumn(0).getString()));
  return status;
}

}  // namespace

int write_page(const VaultOptions& options) {
  Catalogue catalogue(options.catalogue, Catalogue::Access::read);
  SQLite::Database& database = catalogue.database();
  SQLite::Transaction one_view(database);
  std::optional<support::DocumentOutput> file;
  if (options.output) file.emplace(*options.output);
  if (file && file->would_replace(options.catalogue)) {
    throw support::ErrorEscape("vault", support::kSystemFailure, "the output file is the catalogue");
  }
  support::DocumentOutput standard_output;
  support::DocumentOutput& out = file ? *file : standard_output;
  out.write(page_start("Catalogue " + options.catalogue));
  write_lead(database, out);
  for (const auto write :
       {write_verdicts, write_runs, write_protection, write_releases, write_sizes, write_bad_list}) {
    write(database, out);
  }
  out.write(page_end());
  out.commit();
  return status_of_all(database);
}

}  // namespace vault
