#include "vault/bad_list.h"

#include <string>

#include "inspect/report/json_writer.h"
#include "vault/svg_plots.h"

namespace vault {

namespace {

/// More would make a page that nobody reads to its end.
constexpr int kMostFiles = 5000;
constexpr int kMostFindings = 8;

void write_findings(SQLite::Statement& finding, std::int64_t file, support::ByteSink& out) {
  finding.reset();
  finding.bind(1, file);
  int count = 0;
  std::string text = "<ul>";
  while (finding.executeStep()) {
    if (++count > kMostFindings) continue;
    text += "<li><code>" + html_text(finding.getColumn(0).getString()) + "</code> " +
            html_text(finding.getColumn(1).getString()) + "</li>";
  }
  if (count > kMostFindings) text += "<li>and " + grouped(count - kMostFindings) + " more</li>";
  out.write(count == 0 ? "" : text + "</ul>");
}

void write_row(SQLite::Statement& row, SQLite::Statement& finding, support::ByteSink& out) {
  char form[32] = {};
  const std::string verdict = html_text(row.getColumn(2).getString());
  std::string text = "<tr><td class=\"name\">" + html_text(row.getColumn(1).getString());
  if (row.getColumn(5).getInt() != 0) text += " <strong>new</strong>";
  text += "</td><td class=\"verdict " + verdict + "\">" + verdict + "</td><td>";
  text.append(inspect::utc_time(row.getColumn(3).getInt64(), form)).append("</td><td>");
  out.write(text + html_text(row.getColumn(4).getString()) + "</td><td>");
  write_findings(finding, row.getColumn(0).getInt64(), out);
  out.write("</td></tr>\n");
}

}  // namespace

void write_bad_list(SQLite::Database& database, support::ByteSink& out) {
  const std::int64_t all = database.execAndGet("SELECT count(*) FROM bad").getInt64();
  out.write("<h2>Bad files</h2>\n");
  if (all == 0) return out.write("<p>There are none.</p>\n");
  SQLite::Statement row(
      database,
      "SELECT id, name, verdict, verdict_since, release, id IN (SELECT id FROM newly_bad) FROM bad "
      "ORDER BY verdict_since DESC, name LIMIT ?");
  SQLite::Statement finding(
      database, "SELECT rule, message FROM finding WHERE file = ? AND severity <> 'note' ORDER BY number");
  row.bind(1, kMostFiles);
  out.write(
      "<div class=\"scroll\" role=\"region\" aria-label=\"Bad files\" tabindex=\"0\"><table>\n<thead><tr>");
  for (const std::string heading : {"File", "Verdict", "Since", "Release", "Findings"}) {
    out.write("<th scope=\"col\">" + heading + "</th>");
  }
  out.write("</tr></thead>\n<tbody>\n");
  while (row.executeStep()) write_row(row, finding, out);
  out.write("</tbody></table></div>\n");
  if (all > kMostFiles) {
    out.write("<p>" + grouped(all - kMostFiles) + " more; <code>vr_vault list</code> shows all.</p>\n");
  }
}

}  // namespace vault
