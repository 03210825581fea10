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

/// A title stands in front of the rule with that number.
struct Title {
  std::size_t first;
  std::string_view text;
};

constexpr auto kTitles = [] {
  constexpr std::size_t kCount = 0
#define VRII_RULE_GROUP(title) +1
#define VRII_RULE(identifier, name, severity, marks, meaning, advice)
#include "support/findings.def"
      ;
  std::array<Title, kCount> titles = {};
  std::size_t count = 0;
  std::size_t rules = 0;
#define VRII_RULE_GROUP(title) titles[count++] = {rules, title};
#define VRII_RULE(identifier, name, severity, marks, meaning, advice) ++rules;
#include "support/findings.def"
  return titles;
}();
static_assert(kTitles.front().first == 0);

}  // namespace

std::string_view severity_name(Severity severity) {
  constexpr std::array<std::string_view, 3> kNames = {"note", "warning", "error"};
  return kNames[static_cast<std::size_t>(severity)];
}

const RuleRow& row_of(Rule rule) { return kRules[static_cast<std::size_t>(rule)]; }

std::span<const RuleRow> all_rules() { return kRules; }

std::vector<RuleGroup> rule_groups() {
  std::vector<RuleGroup> groups;
  for (std::size_t i = 0; i < kTitles.size(); ++i) {
    const std::size_t end = i + 1 < kTitles.size() ? kTitles[i + 1].first : kRules.size();
    groups.push_back({kTitles[i].text, all_rules().subspan(kTitles[i].first, end - kTitles[i].first)});
  }
  return groups;
}

std::optional<Rule> find_rule(std::string_view name) {
  const auto* const row = std::ranges::find(kRules, name, &RuleRow::name);
  if (row == kRules.end()) return std::nullopt;
  return static_cast<Rule>(row - kRules.begin());
}

void Verdict::add(const Finding& finding) {
  marks_ = static_cast<std::uint8_t>(marks_ | row_of(finding.rule).marks);
}

}  // namespace support
