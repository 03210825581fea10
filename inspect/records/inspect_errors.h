#pragma once

#include "inspect/records/inspect_file.h"
#include "inspect/records/record_reader.h"
#include "support/error_escape.h"
#include "support/findings.h"

namespace inspect {

using support::Rule;

inline constexpr int kContentError = 99;  ///< code of the escape of inspect_error
inline constexpr int kInspectorError = 641001;

/// What ends the run, not only the reading of a file. Its message is that of the finding.
class FatalEscape final : public support::ErrorEscape {
 public:
  explicit FatalEscape(std::string message)
      : ErrorEscape("vr_inspect_internal", kInspectorError, std::move(message)) {}
};

/// A fatal error in the file's content, at the field that was read last: a finding, and an escape of code 99.
[[noreturn, gnu::format(printf, 3, 4)]] void inspect_error(const RecordReader& reader, Rule rule,
                                                           const char* format, ...);

/// "unexpected read error %d": the system could not read. What inspect_error does.
[[noreturn]] void inspect_read_error(const RecordReader& reader, int status);

/// A fatal error of the run: a finding, and a FatalEscape.
[[noreturn, gnu::format(printf, 3, 4)]] void inspect_fatal(const RecordReader& reader, Rule rule,
                                                           const char* format, ...);

/// A warning about the content, at the field that was read last: a finding. The reading goes on.
[[gnu::format(printf, 3, 4)]] void inspect_warning(const RecordReader& reader, Rule rule, const char* format,
                                                   ...);

/// Trouble with the file that ends no reading: a finding.
[[gnu::format(printf, 3, 4)]] void report_problem(const InspectFile& file, Rule rule, const char* format,
                                                  ...);

/// The same with what else is known of it; the message is made from the format.
[[gnu::format(printf, 3, 4)]] void report_finding(const InspectFile& file, support::Finding finding,
                                                  const char* format, ...);

/// Reports an escape that reached a place where work can go on: nothing more for code 99, which has been
/// reported where it was raised, else its message.
void report_escape(const InspectFile& file, const support::ErrorEscape& escape);

/// Runs one step of the work on a file; what it raises is reported, and the work goes on with the next. Only
/// what ends the run passes, and not even that where damage ends nothing.
template <typename Step>
void attempt(const InspectFile& file, Step step) {
  try {
    step();
  } catch (const FatalEscape&) {
    if (!file.steps_over_damage) throw;
  } catch (const support::ErrorEscape& escape) {
    report_escape(file, escape);
  }
}

/// The rule that an error number of the container stands for.
Rule rule_of(int code);

}  // namespace inspect
