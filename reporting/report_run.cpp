#include "reporting/report_run.h"

#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <string>

#include "reporting/document_series.h"
#include "support/document_output.h"
#include "support/error_escape.h"
#include "support/printable.h"
#include "support/system_failure.h"
#include "sweep/file_finder.h"
#include "sweep/sweep_progress.h"

namespace reporting {

namespace {

int status_of(inspect::PartOutcome outcome) {
  switch (outcome) {
    case inspect::PartOutcome::sound:
      return kAllSound;
    case inspect::PartOutcome::findings:
      return kSomeFindings;
    case inspect::PartOutcome::unreadable:
      break;
  }
  return kSomeUnreadable;
}

class PartExaminer final : public sweep::Examiner {
 public:
  explicit PartExaminer(const inspect::PartReportOptions& options) : options_(options) {}

  int examine(const std::string& name, support::ByteSink& document) override {
    return status_of(inspect::write_part_report(name, options_, document));
  }

  int report_lost(const std::string& name, std::string_view reason, support::ByteSink& document) override {
    return status_of(inspect::write_lost_part_report(name, reason, options_, document));
  }

 private:
  const inspect::PartReportOptions& options_;
};

class ReportReceiver final : public sweep::Receiver {
 public:
  ReportReceiver(const support::DocumentOutput& output, DocumentSeries& series,
                 sweep::SweepProgress& progress)
      : output_(output), series_(series), progress_(progress) {}

  int status() const { return status_; }

  void take(const sweep::FoundFile& file, int status, const support::Spool& document) override {
    if (output_.would_replace(file.name)) {
      throw support::ErrorEscape(
          "reporting", support::kSystemFailure,
          "the output file is one of the files to examine: " + support::printable(file.name));
    }
    progress_.make_way();
    series_.add(document);
    status_ = std::max(status_, status);
    progress_.add(file.name, status != kAllSound);
  }

  void tick() override { progress_.tick(); }

 private:
  const support::DocumentOutput& output_;
  DocumentSeries& series_;
  sweep::SweepProgress& progress_;
  int status_ = kAllSound;
};

bool is_folder(const std::string& name) {
  struct stat found = {};
  return ::stat(name.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

bool names_one_file(const sweep::FileQuery& files) {
  return files.names.size() == 1 && !files.name_list && !is_folder(files.names.front());
}

}  // namespace

int run_report(const ReportOptions& options, support::Console& console) {
  sweep::FileFinder finder(options.files);
  std::optional<support::DocumentOutput> file;
  if (options.output) file.emplace(*options.output);
  support::DocumentOutput standard_output;
  support::DocumentOutput& output = file ? *file : standard_output;

  const bool is_single = names_one_file(options.files);
  DocumentSeries series(options.format, is_single, output);
  sweep::SweepProgress progress(options.files, console, output.is_terminal());
  PartExaminer examiner(options.part);
  ReportReceiver receiver(output, series, progress);
  sweep::SweepOptions sweep = options.sweep;
  if (is_single && options.format == Format::json) sweep.passage = &output;
  sweep_files(finder, examiner, sweep, receiver);
  series.end();
  return receiver.status();
}

}  // namespace reporting
