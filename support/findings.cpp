#include "support/findings.h"

#include <algorithm>
#include <array>

namespace support {

namespace {

constexpr std::array kRules = {
#define VRII_RULE(identifier, name, severity, marks, meaning, advice) \
  RuleRow{name, Severity::severity, marks, meaning, advice},
#include "support/findings.def"
};

}  // namespace

const RuleRow& row_of(Rule rule) { return kRules[static_cast<std::size_t>(rule)]; }

std::span<const RuleRow> all_rules() { return kRules; }

std::optional<Rule> find_rule(std::string_view name) {
  const auto* const row = std::ranges::find(kRules, name, &RuleRow::name);
  if (row == kRules.end()) return std::nullopt;
  return static_cast<Rule>(row - kRules.begin());
}

void Verdict::add(const Finding& finding) {
  marks_ = static_cast<std::uint8_t>(marks_ | row_of(finding.rule).marks);
}

}  // namespace support
