#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace support {

enum class Severity : std::uint8_t { note, warning, error };

/// "note", "warning", "error".
std::string_view severity_name(Severity severity);

/// What a finding does to the verdict of its file. Bits: several may hold at once.
enum Mark : std::uint8_t {
  kNoMark = 0,
  kFails = 1,               ///< the file's status is 1
  kIsProblem = 2,           ///< the file is not to be called clean
  kCertainCorruption = 4,   ///< the file is corrupt
  kProbableCorruption = 8,  ///< the file is suspect
  kWantsScan = 16,          ///< the bytes of the whole file should be scanned
};

/// All rules, by their identifier; their rows stand in findings.def.
enum class Rule : std::uint16_t {
#define VRII_RULE(identifier, name, severity, marks, meaning, advice) identifier,
#include "support/findings.def"
};

/// One row of the table of rules. The name is what users and programs know a rule by: it never changes.
struct RuleRow {
  std::string_view name;
  Severity severity;
  std::uint8_t marks;        ///< of Mark
  std::string_view meaning;  ///< one sentence for people
  std::string_view advice;   ///< what to do; empty when there is nothing to do
};

const RuleRow& row_of(Rule rule);
std::span<const RuleRow> all_rules();

/// Rules that belong together, in the order of the table.
struct RuleGroup {
  std::string_view title;
  std::span<const RuleRow> rules;
};
std::vector<RuleGroup> rule_groups();

/// The rule of that name; nothing when there is none.
std::optional<Rule> find_rule(std::string_view name);

/// Where a finding lies, as far as that is known. Offsets and lengths are in bytes.
struct Place {
  std::optional<std::uint64_t> file_offset;  ///< from the start of the file
  std::optional<std::uint64_t> length;
  std::string stream;                          ///< path below the root storage; empty in a flat file
  std::optional<std::uint64_t> stream_offset;  ///< from the start of the stream, or of the flat file
  std::optional<std::int32_t> partition;       ///< id
  std::string field;                           ///< what is read there
};

using DetailValue = std::variant<std::int64_t, std::uint64_t, std::string>;

/// One fact of a finding, for programs: a size, a checksum, a count.
struct Detail {
  std::string_view name;  ///< a literal in lower_snake_case
  DetailValue value;
};

/// How a finding is told to a person: what the texts of the inspector differ in.
enum class Manner : std::uint8_t {
  error,            ///< ends the reading of the file
  fatal,            ///< ends the run
  problem,          ///< work goes on
  warning,          ///< work goes on; what it marks is in its row
  program_warning,  ///< not the file's fault
  cause,            ///< why the problem before it came about
  notice,           ///< for the person alone: a report does without it
  result,           ///< part of a section, which tells it in its own words
};

struct Finding {
  Rule rule = {};
  Manner manner = Manner::problem;
  Place place;
  std::string message;  ///< for people; texts from the file in it are escaped
  std::vector<Detail> found;
  std::vector<Detail> expected;
  std::string effect;  ///< what is lost or doubtful by it; may be empty

  Severity severity() const { return row_of(rule).severity; }
};

/// Takes what readers find, as they find it.
class FindingSink {
 public:
  virtual ~FindingSink() = default;
  virtual void report(const Finding& finding) = 0;

 protected:
  FindingSink() = default;
  FindingSink(const FindingSink&) = default;
  FindingSink& operator=(const FindingSink&) = default;
};

/// What the findings of one file amount to.
class Verdict {
 public:
  void add(const Finding& finding);

  bool failed() const { return has(kFails); }
  bool has_problems() const { return has(kIsProblem); }
  bool is_certainly_corrupt() const { return has(kCertainCorruption); }
  bool is_probably_corrupt() const { return has(kProbableCorruption); }
  bool wants_scan() const { return has(kWantsScan); }

 private:
  bool has(Mark mark) const { return (marks_ & mark) != 0; }

  std::uint8_t marks_ = kNoMark;
};

}  // namespace support
