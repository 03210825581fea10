#include "inspect/vr_inspect_internal.h"

#include <optional>
#include <string>

#include "cfi/cfi_error_codes.h"
#include "cfi/stream_names.h"
#include "cfi/tools/corruption_scan.h"
#include "cfi/tools/feature_toggles.h"
#include "cfi/tools/storage_listing.h"
#include "cfi/tools/stream_extraction.h"
#include "inspect/part_container.h"
#include "inspect/reading_pass.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/records/named_streams.h"
#include "inspect/report/compatibility.h"
#include "inspect/report/corruption_scan_text.h"
#include "inspect/report/external_references.h"
#include "inspect/report/feature_toggles_text.h"
#include "inspect/report/part_summary.h"
#include "inspect/report/partition_printers.h"
#include "inspect/report/release_report.h"
#include "inspect/report/storage_listing_text.h"
#include "inspect/sections/jt_bodies.h"
#include "inspect/solid/transmit_extraction.h"
#include "support/assertion.h"
#include "support/console.h"
#include "support/diagnostics.h"
#include "support/environment.h"
#include "support/program.h"

namespace inspect {

namespace {

using support::ErrorEscape;
using support::print;
using support::print_message;

/// Named by VRII_DISPLAY_DEBUG, what only a developer wants to hear of a part is reported too.
constexpr const char* kDevelopmentWarnings = "development_warnings";

/// Those of all files of the run.
WrittenBodies& written_bodies() {
  static WrittenBodies bodies;
  return bodies;
}

/// The steps of one file, in their order.
class PartFileDriver {
 public:
  PartFileDriver(const char* name, InspectOptions& options, FatalErrors fatal_errors)
      : options_(options), file_(options, name) {
    file_.escape_on_failure = fatal_errors == FatalErrors::escape;
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
  void inspect_content();
  void read_content();
  void report_content();
  void report_corruption();
  void report_corruption_kind(const char* line);
  void work_on_partitions();
  void list_references();
  void print_feature_toggles();
  void use_container();
  bool scan_finds_corruption();

  /// Runs one step; its escape is reported, and the next step runs.
  template <typename Step>
  void attempt(Step step) {
    try {
      step();
    } catch (const ErrorEscape& escape) {
      report_escape(file_, escape);
    }
  }

  InspectOptions& options_;
  PartContainer container_;  // outlives the sources that the file's readers hold
  InspectFile file_;
  bool opened_ = false;
  bool truncated_ = false;
};

int PartFileDriver::run() {
  if (open()) {
    if (options_.print_banner) {
      print("...Running %s version of %s on %s\n", support::kVersionText, support::program_name(),
            file_.shown_name.c_str());
    }
    if (options_.scan || options_.check_checksums) check_footer();
    if (file_.file_length == 0) {
      support::print_text("**** File is empty, not a valid part file\n");
      file_.failed = true;
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
  if (file_.failed && options_.reader_check) {
    throw ErrorEscape("vr_inspect_internal", kInspectorError, "problem in vr_inspect");
  }
  return file_.failed ? 1 : 0;
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
    file_.stream = container_.open_part_stream();
    file_.file_length = file_.stream->size();
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
  const char* name = file_.shown_name.c_str();
  switch (escape.code()) {
    case CFI::kEncryptedFile:
      report_problem(file_, "could not open encrypted part %s", name);
      break;
    case CFI::kDamagedIndex:
    case CFI::kIndexChecksumMismatch:
      attempt([this] { scan_finds_corruption(); });
      report_problem(file_, "could not open corrupted file %s", name);
      break;
    default:
      report_problem(file_, "could not open %s: status %d", name, escape.code());
  }
  print_message("%s: In file %s\n %s\n", support::program_name(), name, escape.what());
}

/// What the container has left out, before what follows from that.
void PartFileDriver::report_damage() {
  if (file_.container == nullptr) return;
  for (const std::string& text : file_.container->damage()) report_problem(file_, "%s", text.c_str());
}

void PartFileDriver::check_truncation() {
  attempt([this] {
    const bool lacks_listed_bytes = file_.container != nullptr && file_.container->is_truncated();
    if (truncated_ || !(lacks_listed_bytes || container_.has_shrunk())) return;
    truncated_ = true;
    support::print_text("The file appears to have been truncated.\n");
    file_.failed = true;
    file_.problems_found = true;
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
  if (file_.certain_corruption || file_.probable_corruption) {
    attempt([this] { report_corruption(); });
  } else if (complete) {
    attempt([this] { work_on_partitions(); });
  }
}

void PartFileDriver::read_content() {
  if (!options_.scan) {
    read_part(file_, container_.header_copy());
    return;
  }
  if (scan_finds_corruption()) return;
  read_part(file_, container_.header_copy());
  if (file_.certain_corruption || file_.probable_corruption || file_.problems_found) return;
  support::print_text("No corruptions identified in this scan\n");
  if (!file_.has_om_checksums) support::print_text("Part too old to contain OM checksums\n");
}

void PartFileDriver::report_content() {
  if (options_.print_summary) print_part_summary(file_);
  if (options_.release_only && options_.print_banner) print_release_report(file_);
  if (options_.compatibility) visit_named_stream(file_, stream_names::kCompatibility, print_compatibility);
  if (options_.feature_toggle_info) attempt([this] { print_feature_toggles(); });
  if (options_.extract_jt) {
    for (const char* name : {stream_names::kJt, stream_names::kDisplayJt}) {
      visit_named_stream(file_, name,
                         [&](auto& source) { list_jt_bodies(file_, source, name, &written_bodies()); });
    }
  }
}

void PartFileDriver::report_corruption_kind(const char* kind) {
  const char* name = file_.shown_name.c_str();
  if (options_.print_banner) print("**** %s - %s\n", kind, name);
  print_message("**** %s - %s\n", kind, name);
  file_.failed = true;
}

void PartFileDriver::report_corruption() {
  if (file_.certain_corruption) {
    report_corruption_kind("Part corruption");
    if (file_.wants_scan) scan_finds_corruption();
  } else {
    report_corruption_kind("Probable part corruption");
    scan_finds_corruption();
  }
}

void PartFileDriver::work_on_partitions() {
  if (options_.extract_partition > 0) {
    options_.extract_partition = extract_partition(file_, options_.extract_partition);
  }
  if (options_.extract_all && !extract_all_partitions(file_)) {
    report_problem(file_, "Failed to extract all Brepsolid partitions");
  }
  // Under -scan the reading pass has checked them already.
  if (options_.check_checksums && !options_.scan && !check_all_partitions(file_)) {
    report_problem(file_, "Some brepsolid partitions had invalid checksums");
  }
  if (options_.print_extref || options_.refs_level > 0) list_references();
  print_partitions(file_);
}

void PartFileDriver::list_references() {
  const auto part = open_child_stream(file_, stream_names::kPartStorage, stream_names::kExternalReferences);
  const auto fast_load =
      open_child_stream(file_, stream_names::kFastLoadStorage, stream_names::kExternalReferences);
  if (options_.print_extref) print_external_references(part.get(), fast_load.get());
  if (options_.refs_level == 0) return;
  const auto listing = options_.refs_level == 1 ? ReferenceListing::most_recent : ReferenceListing::all;
  print_referenced_parts(part.get(), fast_load.get(), listing);
}

void PartFileDriver::print_feature_toggles() {
  const auto source = open_child_stream(file_, stream_names::kPartStorage, stream_names::kFeatureToggles);
  if (!source) {
    support::print_text("Feature toggle information not present.\n");
    return;
  }
  FeatureTogglesText text;
  const auto checksums = cfi_tools::read_feature_toggles(*source, text);
  if (checksums.computed != checksums.stored) {
    report_problem(file_, "Feature toggle information checksums mismatch: %d and %d",
                   static_cast<int>(checksums.computed), static_cast<int>(checksums.stored));
  }
}

/// Steps 16 to 18: a damaged part must still give up its streams.
void PartFileDriver::use_container() {
  file_.stream.reset();
  file_.partitions.clear();
  if (file_.container == nullptr) {
    if (opened_ && options_.extract_stream) {
      report_problem(file_, "File is not a structured-storage file: %s", file_.shown_name.c_str());
    }
    return;
  }
  if (options_.print_storages) {
    attempt([this] {
      StorageListingText listing;
      cfi_tools::list_storages(*file_.container, listing);
    });
    // The listing has said so.
    if (file_.container->is_truncated()) truncated_ = file_.failed = true;
  }
  if (options_.extract_stream) {
    attempt([this] {
      cfi_tools::extract_stream(*file_.container, {.part_name = file_.name,
                                                   .part = file_.identity,
                                                   .stream_path = options_.stream_path,
                                                   .output_name = options_.stream_output_name});
    });
  }
}

bool PartFileDriver::scan_finds_corruption() {
  CorruptionScanText text({.announces = options_.scan, .statistics = options_.print_full_extra});
  const auto verdict =
      cfi_tools::scan_for_corruption({.file_name = file_.name, .version = file_.release}, text);
  if (verdict == cfi_tools::ScanVerdict::not_opened) {
    inspect_error(file_, "could not open %s for corruption scan", file_.shown_name.c_str());
  }
  if (verdict == cfi_tools::ScanVerdict::clean) return false;
  file_.certain_corruption = true;
  file_.failed = true;
  file_.problems_found = true;
  return true;
}

}  // namespace

int inspect_part_file(const char* name, InspectOptions& options, FatalErrors fatal_errors) {
  return PartFileDriver(name, options, fatal_errors).run();
}

}  // namespace inspect
