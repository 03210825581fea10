#include "reporting/rule_texts.h"

#include <algorithm>
#include <cstddef>

#include "support/error_escape.h"
#include "support/findings.h"
#include "support/printable.h"
#include "support/system_failure.h"

namespace reporting {

std::string rule_text(const std::string& name) {
  const auto rule = support::find_rule(name);
  if (!rule) {
    throw support::ErrorEscape("reporting", support::kSystemFailure,
                               "there is no rule " + support::printable(name) + "; --list-rules shows all");
  }
  const support::RuleRow& row = row_of(*rule);
  std::string text =
      "Rule:     " + name + "\nSeverity: " + std::string(severity_name(row.severity)) + "\nMeaning:  ";
  text.append(row.meaning) += '\n';
  if (!row.advice.empty()) text.append("Advice:   ").append(row.advice) += '\n';
  return text;
}

std::string rule_list() {
  std::size_t width = 0;
  for (const support::RuleRow& row : support::all_rules()) width = std::max(width, row.name.size());
  constexpr std::size_t kSeverityWidth = 7;
  std::string text;
  for (const support::RuleRow& row : support::all_rules()) {
    const std::string_view severity = severity_name(row.severity);
    text.append(row.name).append(width + 2 - row.name.size(), ' ');
    text.append(severity).append(kSeverityWidth + 2 - severity.size(), ' ').append(row.meaning) += '\n';
  }
  return text;
}

}  // namespace reporting
