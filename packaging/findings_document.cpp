#include "packaging/findings_document.h"

#include "support/findings.h"

namespace packaging {

namespace {

/// A cell of a table cannot hold its border.
std::string cell(std::string_view text) { return " " + escape(text, "|") + " |"; }

std::string table_of(const support::RuleGroup& group) {
  std::string text =
      "## " + std::string(group.title) + "\n\n| Rule | Severity | Means | What to do |\n|---|---|---|---|\n";
  for (const support::RuleRow& row : group.rules) {
    text += "|" + cell("`" + std::string(row.name) + "`") + cell(severity_name(row.severity)) +
            cell(row.meaning) + cell(row.advice) + "\n";
  }
  return text;
}

}  // namespace

bool generate_findings_document(const Templates& templates) {
  std::string tables;
  for (const support::RuleGroup& group : support::rule_groups()) {
    tables += (tables.empty() ? "" : "\n") + table_of(group);
  }
  return generate(templates, "findings.md.in", "findings.md",
                  [&](std::string& text) { replace_all(text, "@RULES@\n", tables); });
}

}  // namespace packaging
