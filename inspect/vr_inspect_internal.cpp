#include "inspect/vr_inspect_internal.h"

#include <string>

#include "cfi/cfi_error_codes.h"
#include "cfi/storage_reader.h"
#include "cfi/stream_names.h"
#include "cfi/tools/stream_extraction.h"
#include "inspect/file_findings.h"
#include "inspect/part_container.h"
#include "inspect/partition_selection.h"
#include "inspect/reading_pass.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/records/named_streams.h"
#include "inspect/report/text_report.h"
#include "inspect/report/text_trace.h"
#include "inspect/solid/transmit_extraction.h"
#include "support/assertion.h"
#include "support/diagnostics.h"
#include "support/environment.h"

namespace inspect {

namespace {

using support::ErrorEscape;

/// Named by VRII_DISPLAY_DEBUG, what only a developer wants to hear of a part is reported too.
constexpr const char* kDevelopmentWarnings = "development_warnings";

/// Toggles that nobody wants to see.
class UnseenToggles final : public cfi_tools::FeatureToggleSink {
 public:
  void begin(int) override {}
  void toggle(std::string_view) override {}
};

/// The steps of one file, in their order.
class PartFileDriver {
 public:
  PartFileDriver(const std::string& name, InspectOptions& options, Report& report, RunState& run)
      : options_(options),
        report_(report),
        run_(run),
        findings_(report),
        trace_(run.console),
        file_(name, findings_, options.trace ? &trace_ : nullptr) {
    file_.console = &run.console;
    file_.development_warnings = support::DiagnosticsChannel(kDevelopmentWarnings).enabled();
  }

  /// Returns the status of the file.
  int run();

 private:
  bool open();
  void report_open_failure(const ErrorEscape& escape);
  void report_damage();
  void check_truncation();
  void check_footer();
  void check_toggles(cfi_tools::FeatureToggleSink& sink);
  void inspect_content();
  void read_content();
  bool is_clean() const;
  void report_content();
  void report_corruption();
  void work_on_partitions();
  void extract_partitions();
  void list_references();
  void use_container();
  bool scan_finds_corruption();
  CopyMode copy_mode() const;
  const support::Verdict& verdict() const { return findings_.verdict(); }
  std::string shown_name() const { return support::printable(file_.name); }
  void report_result(Rule rule);

  template <typename Step>
  void attempt(Step step) {
    inspect::attempt(file_, step);
  }

  InspectOptions& options_;
  Report& report_;
  RunState& run_;
  FileFindings findings_;
  TextTrace trace_;
  PartContainer container_;  // outlives the sources that the file's readers hold
  InspectFile file_;
  bool opened_ = false;
  bool truncated_ = false;
};

int PartFileDriver::run() {
  if (open()) {
    report_.begin_file();
    if (options_.scan || options_.check_checksums) check_footer();
    if (file_.records.length == 0) {
      report_result(Rule::file_empty);
      report_.take_empty_file();
    } else {
      check_truncation();
      inspect_content();
    }
  }
  use_container();
  // What has been read since may tell what could not be known on opening.
  check_truncation();
  static const bool debug_checks = support::debug_checks_wanted();
  if (debug_checks) static_cast<void>(VRII_NEVER(container_.open_source_count() != 0));
  if (verdict().failed() && options_.reader_check) {
    throw ErrorEscape("vr_inspect_internal", kInspectorError, "problem in vr_inspect");
  }
  return verdict().failed() ? 1 : 0;
}

/// A finding that the report tells in its own words.
void PartFileDriver::report_result(Rule rule) {
  support::Finding finding;
  finding.rule = rule;
  finding.manner = support::Manner::result;
  finding.message = row_of(rule).meaning;
  findings_.report(finding);
}

bool PartFileDriver::open() {
  try {
    if (!options_.storage_open_text.empty()) {
      VRX::System::CFI::announce_opening(file_.name, options_.storage_open_text.view());
    }
    container_.open(file_.name);
    file_.identity = container_.identity();
    file_.container = container_.storage_file();
    report_damage();
    file_.attach(container_.open_part_stream(), file_.container != nullptr ? "VR_PART/VR_PART" : "");
    file_.disk_length = container_.file_size();
    opened_ = true;
    return true;
  } catch (const ErrorEscape& escape) {
    check_truncation();
    report_open_failure(escape);
    return false;
  }
}

void PartFileDriver::report_open_failure(const ErrorEscape& escape) {
  namespace CFI = VRX::System::CFI;
  const std::string name = shown_name();
  switch (escape.code()) {
    case CFI::kEncryptedFile:
      report_problem(file_, Rule::file_encrypted, "could not open encrypted part %s", name.c_str());
      break;
    case CFI::kDamagedIndex:
    case CFI::kIndexChecksumMismatch:
      attempt([this] { scan_finds_corruption(); });
      report_problem(file_, rule_of(escape.code()), "could not open corrupted file %s", name.c_str());
      break;
    default:
      report_problem(file_, rule_of(escape.code()), "could not open %s: status %d", name.c_str(),
                     escape.code());
  }
  support::Finding cause;
  cause.rule = rule_of(escape.code());
  cause.manner = support::Manner::cause;
  report_finding(file_, std::move(cause), "%s", escape.what());
}

/// What the container has left out, before what follows from that.
void PartFileDriver::report_damage() {
  if (file_.container == nullptr) return;
  for (const std::string& text : file_.container->damage()) {
    report_problem(file_, Rule::container_compound_entry, "%s", text.c_str());
  }
}

void PartFileDriver::check_truncation() {
  attempt([this] {
    const bool lacks_listed_bytes = file_.container != nullptr && file_.container->is_truncated();
    if (truncated_ || !(lacks_listed_bytes || container_.has_shrunk())) return;
    truncated_ = true;
    report_.take_truncation();
    report_result(Rule::file_truncated);
  });
}

/// Who checks a file asks for all of it: the checksum of the footer index, which the part may not need.
void PartFileDriver::check_footer() {
  attempt([this] {
    try {
      container_.load_all();
    } catch (const ErrorEscape&) {
      check_truncation();  // names the cause first
      throw;
    }
  });
}

/// Steps 8 to 15. What ends the reading ends the reports too, but not the word on a corruption.
void PartFileDriver::inspect_content() {
  bool complete = false;
  attempt([&] {
    read_content();
    report_content();
    complete = true;
  });
  if (verdict().is_certainly_corrupt() || verdict().is_probably_corrupt()) {
    attempt([this] { report_corruption(); });
  } else if (complete) {
    attempt([this] { work_on_partitions(); });
  }
}

bool PartFileDriver::is_clean() const {
  return !verdict().is_certainly_corrupt() && !verdict().is_probably_corrupt() && !verdict().has_problems() &&
         !container_.has_shrunk();
}

void PartFileDriver::read_content() {
  if (!options_.scan) {
    read_part(file_, container_.header_copy(), {}, report_);
    return;
  }
  if (scan_finds_corruption()) return;
  read_part(file_, container_.header_copy(), {.checks = PassChecks::all}, report_);
  if (!is_clean()) return;
  UnseenToggles unseen;
  attempt([&] { check_toggles(unseen); });
  if (is_clean()) report_.take_clean_scan(file_.records);
}

void PartFileDriver::report_content() {
  if (options_.print_summary) {
    read_part_summary(
        file_, {.filing_history = !options_.print_cookies, .display_jt = options_.print_full_extra}, report_);
  }
  if (options_.release_only && options_.print_banner) {
    report_.begin_release_report();
    read_release(file_, report_);
  }
  if (options_.compatibility) {
    visit_named_stream(file_, stream_names::kCompatibility,
                       [this](auto& source) { read_compatibility(source, report_); });
  }
  if (options_.feature_toggle_info) attempt([this] { check_toggles(report_.toggles()); });
  if (options_.extract_jt) {
    for (const char* name : {stream_names::kJt, stream_names::kDisplayJt}) {
      visit_named_stream(file_, name, [&](auto& source) {
        read_jt_bodies(file_, source, name, report_, &run_.written_bodies);
      });
    }
  }
}

void PartFileDriver::report_corruption() {
  if (verdict().is_certainly_corrupt()) {
    report_.take_corruption(Corruption::certain);
    if (verdict().wants_scan()) scan_finds_corruption();
  } else {
    report_.take_corruption(Corruption::probable);
    scan_finds_corruption();
  }
}

/// Who asks for a check wants no files.
CopyMode PartFileDriver::copy_mode() const {
  if (options_.scan) return CopyMode::scan;
  return options_.check_checksums ? CopyMode::check : CopyMode::extract;
}

void PartFileDriver::extract_partitions() {
  const ExtractionRequest request = {copy_mode(), options_.extract_output_name.view()};
  if (options_.extract_partition > 0) {
    options_.extract_partition = extract_partition(file_, request, options_.extract_partition, report_);
  }
  if (options_.extract_all && !extract_all_partitions(file_, request, report_)) {
    report_problem(file_, Rule::extraction_incomplete, "Failed to extract all Brepsolid partitions");
  }
  // Under -scan the reading pass has checked them already.
  if (!options_.check_checksums || options_.scan) return;
  if (!extract_all_partitions(file_, {CopyMode::check, {}}, report_)) {
    report_problem(file_, Rule::solid_checksums, "Some brepsolid partitions had invalid checksums");
  }
}

void PartFileDriver::work_on_partitions() {
  extract_partitions();
  if (options_.print_extref || options_.refs_level > 0) list_references();
  list_selected_partitions(file_, options_, report_);
}

void PartFileDriver::list_references() {
  const auto open = [this](const char* storage) {
    return open_child_stream(file_, storage, stream_names::kExternalReferences);
  };
  const auto part = open(stream_names::kPartStorage);
  const auto fast_load = open(stream_names::kFastLoadStorage);
  if (options_.print_extref) read_external_references(part.get(), fast_load.get(), report_);
  if (options_.refs_level == 0) return;
  const auto list = options_.refs_level == 1 ? ReferenceList::most_recent : ReferenceList::all;
  read_referenced_parts(part.get(), fast_load.get(), list, report_);
}

void PartFileDriver::check_toggles(cfi_tools::FeatureToggleSink& sink) {
  const auto source = open_child_stream(file_, stream_names::kPartStorage, stream_names::kFeatureToggles);
  if (!source) {
    if (&sink == &report_.toggles()) report_.take_absent_toggles();
    return;
  }
  const auto checksums = cfi_tools::read_feature_toggles(*source, sink);
  if (checksums.computed != checksums.stored) {
    report_problem(file_, Rule::toggles_checksum, "Feature toggle information checksums mismatch: %d and %d",
                   static_cast<int>(checksums.computed), static_cast<int>(checksums.stored));
  }
}

/// Steps 16 to 18: a damaged part must still give up its streams.
void PartFileDriver::use_container() {
  file_.detach();
  if (file_.container == nullptr) {
    if (opened_ && options_.extract_stream) {
      report_problem(file_, Rule::file_not_a_container, "File is not a structured-storage file: %s",
                     shown_name().c_str());
    }
    return;
  }
  if (options_.print_storages) {
    attempt([this] { cfi_tools::list_storages(*file_.container, report_.storages()); });
    if (file_.container->is_truncated() && !truncated_) {
      truncated_ = true;  // the listing has said so
      report_result(Rule::file_truncated);
    }
  }
  if (options_.extract_stream) {
    attempt([this] {
      cfi_tools::extract_stream(*file_.container, {.console = file_.console,
                                                   .part_name = file_.name,
                                                   .part = file_.identity,
                                                   .stream_path = options_.stream_path,
                                                   .output_name = options_.stream_output_name});
    });
  }
}

bool PartFileDriver::scan_finds_corruption() {
  ScanFindings sink(findings_, report_.scan());
  const auto verdict = cfi_tools::scan_for_corruption(
      {.file_name = file_.name, .version = file_.records.version, .console = file_.console}, sink);
  if (verdict == cfi_tools::ScanVerdict::not_opened) {
    inspect_error(file_.reader, Rule::file_not_opened, "could not open %s for corruption scan",
                  shown_name().c_str());
  }
  if (verdict == cfi_tools::ScanVerdict::clean) return false;
  return true;
}

}  // namespace

int inspect_part_file(const std::string& name, InspectOptions& options, RunState& run) {
  TextReport report(name,
                    {.banner = options.print_banner,
                     .announce_scan = options.scan,
                     .scan_statistics = options.print_full_extra},
                    run.console);
  return PartFileDriver(name, options, report, run).run();
}

}  // namespace inspect
