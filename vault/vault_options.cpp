#include "vault/vault_options.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "support/command_line.h"
#include "support/error_escape.h"
#include "support/findings.h"
#include "support/printable.h"
#include "support/system_failure.h"
#include "vault/json_fields.h"
#include "vault/part_verdict.h"

namespace vault {

namespace {

using support::ProgramOption;
using Value = ProgramOption::Value;

constexpr std::size_t kAnyNumber = SIZE_MAX;

struct CommandRow {
  Command command;
  std::string_view name;
  std::size_t fewest;  ///< operands behind the catalogue
  std::size_t most;
  std::string_view operands;
  std::string_view description;
};

constexpr std::array kCommands = {
    CommandRow{Command::update, "update", 1, kAnyNumber, "CATALOGUE FOLDER...",
               "Examine what is new or has changed in the folders; make the catalogue when there is none."},
    CommandRow{Command::import, "import", 1, kAnyNumber, "CATALOGUE FILE...",
               "Take in the JSON Lines that vr_report wrote, here or on another host; - is standard input."},
    CommandRow{Command::list, "list", 0, 0, "CATALOGUE", "Show the files that are there, or some of them."},
    CommandRow{Command::show, "show", 1, 1, "CATALOGUE PART", "Show all that is known of one file."},
    CommandRow{Command::diff, "diff", 2, 2, "CATALOGUE RUN RUN",
               "Show what changed from one run to another."},
    CommandRow{Command::check, "check", 0, 0, "CATALOGUE", "Judge the catalogue itself."},
    CommandRow{Command::page, "page", 0, 0, "CATALOGUE", "Show the catalogue as one HTML page."},
};

const CommandRow& row_of(Command command) {
  return *std::ranges::find(kCommands, command, &CommandRow::command);
}

constexpr unsigned bit(Command command) { return 1U << static_cast<unsigned>(command); }

struct OptionRule {
  ProgramOption option;
  unsigned commands = 0;  ///< bits of those that take it
  void (*apply)(VaultOptions& options, const std::string& value) = nullptr;
  bool repeats = false;
};

[[noreturn]] void fail(const std::string& message) {
  throw support::ErrorEscape("vault", support::kSystemFailure, message);
}

void set_verdict(VaultOptions& options, const std::string& value) {
  if (std::ranges::find(kVerdicts, value) == kVerdicts.end()) {
    support::reject_option("verdict", value, "sound, suspect, damaged, unreadable or not_a_part");
  }
  options.filter.verdict = value;
}

void set_rule(VaultOptions& options, const std::string& value) {
  if (!support::find_rule(value))
    support::reject_option("rule", value, "a rule; vr_report --list-rules shows all");
  options.filter.rule = value;
}

void set_since(VaultOptions& options, const std::string& value) {
  constexpr std::size_t kDayLength = 10;
  std::string form = value;
  if (form.size() == kDayLength) form += "T00:00:00";
  if (!form.ends_with('Z')) form += 'Z';
  options.filter.since = parse_time(form);
  if (!options.filter.since) {
    support::reject_option("since", value, "a time in UTC like 2026-05-25 or 2026-05-25T06:52:06Z");
  }
}

constexpr std::array kRules = {
    OptionRule{
        {"jobs", 'j', Value::text, "N",
         "With update: examine files in N worker processes, 1 by default. One that dies costs the file that "
         "it held."},
        bit(Command::update),
        [](VaultOptions& o, const std::string& value) {
          o.jobs = support::option_number("jobs", value, 1024, "a number from 1 to 1024");
        }},
    OptionRule{
        {"verify", 0, Value::none, "", "With update: examine all files, also those that have not changed."},
        bit(Command::update),
        [](VaultOptions& o, const std::string&) { o.verify = true; }},
    OptionRule{
        {"sha256", 0, Value::none, "",
         "With update: note the SHA-256 checksum of each file that is examined. A file that was moved and "
         "copied over is then known again."},
        bit(Command::update),
        [](VaultOptions& o, const std::string&) { o.sha256 = true; }},
    OptionRule{
        {"name", 0, Value::text, "GLOB",
         "With update: take the files whose name matches GLOB, without regard to case. May be given several "
         "times."},
        bit(Command::update),
        [](VaultOptions& o, const std::string& value) { o.patterns.push_back(value); },
        true},
    OptionRule{{"verdict", 0, Value::choice, "sound|suspect|damaged|unreadable|not_a_part",
                "With list: the files of this verdict."},
               bit(Command::list),
               set_verdict},
    OptionRule{{"rule", 0, Value::text, "RULE", "With list: the files with a finding of this rule."},
               bit(Command::list),
               set_rule},
    OptionRule{{"release", 0, Value::text, "NAME",
                "With list: the files that this release wrote, named as it is printed."},
               bit(Command::list),
               [](VaultOptions& o, const std::string& value) { o.filter.release = value; }},
    OptionRule{{"references", 0, Value::text, "NAME",
                "With list: the files that refer to NAME, with or without a path in front."},
               bit(Command::list),
               [](VaultOptions& o, const std::string& value) { o.filter.references = value; }},
    OptionRule{
        {"words", 0, Value::text, "WORDS",
         "With list: the files with all these words in description, customer area, users or file name."},
        bit(Command::list),
        [](VaultOptions& o, const std::string& value) { o.filter.words = value; }},
    OptionRule{{"since", 0, Value::text, "TIME",
                "With list: the files whose verdict holds since TIME (UTC, like 2026-05-25 or "
                "2026-05-25T06:52:06Z) or later."},
               bit(Command::list),
               set_since},
    OptionRule{{"null", '0', Value::none, "", "With list: the names alone, each ended by a zero byte."},
               bit(Command::list),
               [](VaultOptions& o, const std::string&) { o.form = ListForm::names; }},
    OptionRule{{"json", 0, Value::none, "", "With list: an array of JSON objects."},
               bit(Command::list),
               [](VaultOptions& o, const std::string&) { o.form = ListForm::json; }},
    OptionRule{{"output", 'o', Value::output, "FILE",
                "With page: write to FILE, which is whole or absent, instead of standard output."},
               bit(Command::page),
               [](VaultOptions& o, const std::string& value) { o.output = value; }},
    OptionRule{{"help", 0, Value::none, "", "Show this help and exit."},
               ~0U,
               [](VaultOptions& o, const std::string&) { o.command = Command::help; }},
    OptionRule{{"version", 0, Value::none, "", "Show the version and exit."},
               ~0U,
               [](VaultOptions& o, const std::string&) { o.command = Command::version; }},
};

constexpr auto kOptions = [] {
  std::array<ProgramOption, kRules.size()> options = {};
  std::ranges::transform(kRules, options.begin(), &OptionRule::option);
  return options;
}();

void check_operands(const VaultOptions& options) {
  const CommandRow& row = row_of(options.command);
  const bool fits = !options.catalogue.empty() && options.operands.size() >= row.fewest &&
                    options.operands.size() <= row.most;
  if (!fits) fail(std::string(row.name) + " takes: " + std::string(row.operands));
}

void take_words(VaultOptions& options, std::vector<std::string> words) {
  if (options.command == Command::help || options.command == Command::version) return;
  if (!words.empty()) options.catalogue = words.front();
  if (words.size() > 1) options.operands.assign(words.begin() + 1, words.end());
  check_operands(options);
}

}  // namespace

std::span<const ProgramOption> vault_options() { return kOptions; }

std::string command_names() {
  std::string names;
  for (const CommandRow& row : kCommands) names.append(names.empty() ? "" : " ").append(row.name);
  return names;
}

std::string help_text() {
  std::string text =
      "Usage: vr_vault COMMAND CATALOGUE [OPTION]... [FOLDER|FILE|PART|RUN]...\n"
      "A catalogue of many KX part files.\n\n";
  for (const CommandRow& row : kCommands) {
    text.append("  ").append(row.name).append(" ").append(row.operands).append("\n      ");
    text.append(row.description).append("\n");
  }
  return text + "\n" + support::options_text(kOptions) +
         "\nExit status: 0 all files that were looked at are sound; 1 some have findings or are no part;\n"
         "2 some could not be examined; 3 the command line, the catalogue or an output was at fault.\n";
}

VaultOptions parse_vault_options(int argument_count, const char* const* arguments) {
  std::span<const char* const> words(arguments, static_cast<std::size_t>(argument_count));
  words = words.subspan(std::min<std::size_t>(words.size(), 1));
  if (words.empty()) fail("no command is given; --help shows all");
  VaultOptions options;
  const auto* const row = std::ranges::find(kCommands, std::string_view(words.front()), &CommandRow::name);
  if (row != kCommands.end()) {
    options.command = row->command;
    words = words.subspan(1);
  } else if (words.front()[0] != '-') {
    fail("there is no command " + support::printable(words.front()) + "; --help shows all");
  }
  const unsigned command = row != kCommands.end() ? bit(options.command) : bit(Command::help);
  bool is_answered = row != kCommands.end();
  std::vector<support::OptionAction> actions;
  for (const OptionRule& rule : kRules) {
    if ((rule.commands & command) == 0) continue;
    const auto apply = [&](const std::string& value) {
      rule.apply(options, value);
      is_answered = true;
    };
    actions.push_back({rule.option, apply, rule.repeats});
  }
  std::vector<std::string> operands = support::parse_command_line(actions, words);
  if (!is_answered) fail("no command is given; --help shows all");
  take_words(options, std::move(operands));
  return options;
}

}  // namespace vault
