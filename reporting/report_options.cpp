#include "reporting/report_options.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "support/command_line.h"
#include "support/error_escape.h"
#include "support/system_failure.h"

namespace reporting {

namespace {

using support::ProgramOption;
using Value = ProgramOption::Value;

struct OptionRule {
  ProgramOption option = {};
  void (*apply)(ReportOptions& options, const std::string& value) = nullptr;
  bool repeats = false;  ///< every value counts; else the last one
};

template <ReportOptions::Job kJob>
void set_job(ReportOptions& options, const std::string&) {
  options.job = kJob;
}

void set_format(ReportOptions& options, const std::string& value) {
  constexpr std::array<std::string_view, 3> kNames = {"json", "jsonl", "html"};
  const auto* const name = std::ranges::find(kNames, value);
  if (name == kNames.end()) support::reject_option("format", value, "json, jsonl or html");
  options.format = static_cast<Format>(name - kNames.begin());
}

void set_shard(ReportOptions& options, const std::string& value) {
  const auto shard = sweep::parse_shard(value);
  if (!shard) support::reject_option("shard", value, "I/N with I from 0 to N - 1");
  options.files.shard = *shard;
}

void set_jobs(ReportOptions& options, const std::string& value) {
  options.sweep.jobs = support::option_number("jobs", value, 1024, "a number from 1 to 1024");
}

void set_memory_limit(ReportOptions& options, const std::string& value) {
  constexpr const char* kWanted = "a number of bytes, or one with K, M, G or T behind it";
  constexpr std::string_view kUnits = "KMGT";
  std::string_view digits = value;
  const std::size_t unit = digits.empty() ? std::string_view::npos : kUnits.find(digits.back());
  const std::size_t shift = unit == std::string_view::npos ? 0 : 10 * (unit + 1);
  if (shift > 0) digits.remove_suffix(1);
  options.sweep.memory_bytes = support::option_number("limit-memory", digits, UINT64_MAX >> shift, kWanted)
                               << shift;
}

void set_time_limit(ReportOptions& options, const std::string& value) {
  constexpr std::uint64_t kMost = 1'000'000'000;
  options.sweep.time =
      std::chrono::seconds(support::option_number("limit-time", value, kMost, "a whole number of seconds"));
}

void explain(ReportOptions& options, const std::string& value) {
  options.job = ReportOptions::Job::explain_rule;
  options.rule = value;
}

constexpr std::array kRules = {
    OptionRule{
        {"format", 0, Value::choice, "json|jsonl|html",
         "Write one JSON document, or an array when not exactly one file is named (json, the default); one "
         "document a line (jsonl); or one HTML page (html)."},
        set_format},
    OptionRule{{"output", 'o', Value::output, "FILE",
                "Write to FILE, which is whole or absent, instead of standard output. A part is never "
                "written over."},
               [](ReportOptions& o, const std::string& value) { o.output = value; }},
    OptionRule{{"no-map", 0, Value::none, "", "Leave out which bytes of the file belong to what."},
               [](ReportOptions& o, const std::string&) { o.part.map = false; }},
    OptionRule{{"summary", 0, Value::none, "", "Release, verdict, findings and sums alone."},
               [](ReportOptions& o, const std::string&) { o.part.summary = true; }},
    OptionRule{{"sha256", 0, Value::none, "", "Add the SHA-256 checksum of each file."},
               [](ReportOptions& o, const std::string&) { o.part.sha256 = true; }},
    OptionRule{
        {"name", 0, Value::text, "GLOB",
         "Of the files in folders take those whose name matches GLOB, without regard to case. May be given "
         "several times."},
        [](ReportOptions& o, const std::string& value) { o.files.patterns.push_back(value); },
        true},
    OptionRule{{"files0-from", 0, Value::file, "FILE",
                "Take further names from FILE, each ended by a zero byte; - is standard input."},
               [](ReportOptions& o, const std::string& value) { o.files.name_list = value; }},
    OptionRule{{"jobs", 'j', Value::text, "N",
                "Examine files in N worker processes. One that dies costs the file that it held."},
               set_jobs},
    OptionRule{{"limit-memory", 0, Value::text, "SIZE",
                "What a worker process may take for itself: bytes, or with K, M, G or T behind the number."},
               set_memory_limit},
    OptionRule{{"limit-time", 0, Value::text, "SECONDS", "What a worker process may take for one file."},
               set_time_limit},
    OptionRule{
        {"shard", 0, Value::text, "I/N",
         "Take only the files of share I of N, from 0 to N - 1. The share of a file follows from its name as "
         "given."},
        set_shard},
    OptionRule{
        {"explain", 0, Value::text, "RULE", "Say what the rule of a finding means and what to do, and exit."},
        explain},
    OptionRule{{"list-rules", 0, Value::none, "", "List all rules and exit."},
               set_job<ReportOptions::Job::list_rules>},
    OptionRule{{"help", 0, Value::none, "", "Show this help and exit."}, set_job<ReportOptions::Job::help>},
    OptionRule{{"version", 0, Value::none, "", "Show the version and exit."},
               set_job<ReportOptions::Job::version>},
};

constexpr auto kOptions = [] {
  std::array<ProgramOption, kRules.size()> options = {};
  std::ranges::transform(kRules, options.begin(), &OptionRule::option);
  return options;
}();

[[noreturn]] void fail(const std::string& message) {
  throw support::ErrorEscape("reporting", support::kSystemFailure, message);
}

/// What the options cannot say one by one. A limit needs a process to hold it against.
void complete(ReportOptions& options) {
  if (options.job != ReportOptions::Job::report) return;
  if (options.files.names.empty() && !options.files.name_list) fail("no file is named");
  const bool is_limited = options.sweep.memory_bytes > 0 || options.sweep.time.count() > 0;
  if (is_limited && options.sweep.jobs == 0) options.sweep.jobs = 1;
  options.part.pretty = options.format == Format::json;
}

}  // namespace

std::span<const ProgramOption> report_options() { return kOptions; }

ReportOptions parse_report_options(int argument_count, const char* const* arguments) {
  ReportOptions options;
  std::vector<support::OptionAction> actions;
  for (const OptionRule& rule : kRules) {
    const auto apply = [&rule, &options](const std::string& value) { rule.apply(options, value); };
    actions.push_back({rule.option, apply, rule.repeats});
  }
  const std::span<const char* const> words(arguments, static_cast<std::size_t>(argument_count));
  options.files.names = support::parse_command_line(actions, words.subspan(words.empty() ? 0 : 1));
  complete(options);
  return options;
}

}  // namespace reporting
