#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "inspect/part_report.h"
#include "support/program_option.h"
#include "sweep/file_finder.h"
#include "sweep/sweep.h"

namespace reporting {

enum class Format : std::uint8_t {
  json,   ///< one document, or an array of them
  jsonl,  ///< one document a line
  html,   ///< one page
};

/// What a run is asked for.
struct ReportOptions {
  enum class Job : std::uint8_t { report, help, version, explain_rule, list_rules };

  Job job = Job::report;
  Format format = Format::json;
  inspect::PartReportOptions part;
  sweep::FileQuery files;
  sweep::SweepOptions sweep;
  std::optional<std::string> output;  ///< a file; none: standard output
  std::string rule;                   ///< to be explained
};

std::span<const support::ProgramOption> report_options();

/// Reads the command line. A wrong one raises 641002, with what is wrong.
ReportOptions parse_report_options(int argument_count, const char* const* arguments);

}  // namespace reporting
