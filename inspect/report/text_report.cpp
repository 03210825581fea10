#include "inspect/report/text_report.h"

#include "inspect/report/audit_trail_lines.h"
#include "inspect/report/brepsolid_text.h"
#include "inspect/report/entity_chain_listing.h"
#include "inspect/report/object_manager_listing.h"
#include "inspect/report/stream_texts.h"
#include "inspect/report/summary_text.h"
#include "support/printable.h"
#include "support/program.h"
#include "support/text_format.h"

namespace inspect {

TextReport::TextReport(std::string_view file_name, const Options& options, support::Console& console)
    : file_name_(support::printable(file_name)),
      options_(options),
      console_(console),
      scan_({.announces = options.announce_scan, .statistics = options.scan_statistics}, console),
      toggles_(console),
      storages_(console) {}

void TextReport::report(const support::Finding& finding) {
  const auto echo = options_.banner ? support::Echo::on : support::Echo::off;
  const char* program = support::program_name();
  const char* message = finding.message.c_str();
  switch (finding.manner) {
    case support::Manner::error:
    case support::Manner::problem:
      console_.report_message(
          support::format_text("%s: In file %s\n %s\n", program, file_name_.c_str(), message), echo);
      return;
    case support::Manner::warning:
      console_.report_message(
          support::format_text("%s: In file %s \n %s\n", program, file_name_.c_str(), message), echo);
      return;
    case support::Manner::fatal:
    case support::Manner::program_warning:
      console_.report_message(support::format_text("%s: %s\n", program, message), echo);
      return;
    case support::Manner::cause:
      console_.print_message("%s: In file %s\n %s\n", program, file_name_.c_str(), message);
      return;
    case support::Manner::notice:
      console_.print_message("%s: %s\n", program, message);
      return;
    case support::Manner::result:
      return;
  }
}

void TextReport::begin_file() {
  if (!options_.banner) return;
  console_.print("...Running %s version of %s on %s\n", support::kVersionText, support::program_name(),
                 file_name_.c_str());
}

void TextReport::take_empty_file() { console_.print_text("**** File is empty, not a valid part file\n"); }

void TextReport::take_truncation() { console_.print_text("The file appears to have been truncated.\n"); }

void TextReport::take_corruption(Corruption corruption) {
  const char* kind = corruption == Corruption::certain ? "Part corruption" : "Probable part corruption";
  if (options_.banner) console_.print("**** %s - %s\n", kind, file_name_.c_str());
  console_.print_message("**** %s - %s\n", kind, file_name_.c_str());
}

void TextReport::take_clean_scan(const PartRecords& part) {
  console_.print_text("No corruptions identified in this scan\n");
  if (!part.has_om_checksums) console_.print_text("Part too old to contain OM checksums\n");
}

void TextReport::take_absent_toggles() { console_.print_text("Feature toggle information not present.\n"); }

void TextReport::begin_release_report() {
  console_.print_text("\n-------- Part Release Information ------------\n");
  console_.print("Part name: %s\n", file_name_.c_str());
}

void TextReport::take_release(const ReleaseSection& release) { print_release_line(console_, release); }

void TextReport::begin_summary(const PartRecords& part) {
  print_summary_heading(console_, file_name_.c_str(), part);
}

void TextReport::take_summary_opening(const PartRecords& part) { print_summary_opening(console_, part); }

void TextReport::take_old_history(const OldHistory& history) { print_old_history(console_, history); }

void TextReport::begin_filing_history() { console_.print_text("V10 filing history:\n"); }

void TextReport::take_filing_history(const FilingHistory& history) {
  print_filing_history(console_, history);
}

void TextReport::take_unreadable_history(const UnreadableHistory& history) {
  print_unreadable_history(console_, history);
}

void TextReport::take_summary_properties(const SummaryProperties& properties) {
  print_summary_properties(console_, properties);
}

void TextReport::take_part_modules(const PartModules& modules) { print_part_modules(console_, modules); }

void TextReport::take_summary_details(const SummaryDetails& details) {
  print_summary_details(console_, details);
}

void TextReport::take_directories(const PartRecords& part) { print_directories(console_, part); }

void TextReport::take_retrieval(Retrieval retrieval) { print_retrieval(console_, retrieval); }

void TextReport::begin_partition(const PartitionEntry& partition) {
  print_partition_heading(console_, partition);
}

void TextReport::take_om_start(const ObjectManagerStart& start) { print_om_start(console_, start); }

void TextReport::take_not_om(const PartitionEntry& partition) { print_not_om(console_, partition); }

void TextReport::take_om_identity(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  print_om_identity(console_, partition, om);
}

void TextReport::take_om_counts(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  print_om_counts(console_, partition, om);
}

void TextReport::take_om_classes(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  print_om_classes(console_, partition, om);
}

void TextReport::take_om_root(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  print_om_root(console_, partition, om);
}

void TextReport::take_audit_trail(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  print_pseudo_entries_note(console_, partition, om.audit);
  print_audit_trail(console_, partition, om);
}

void TextReport::take_entity_chains(const EntityChains& chains) {
  print_entity_type_chains(console_, chains.heads, chains.encoding);
}

void TextReport::begin_unlisted_directory(const PartitionEntry& partition) {
  print_partition_heading(console_, partition);
  if (partition.type != kRecordManager) console_.print_text("Not in OM format\n");
}

void TextReport::take_old_entity_chains(std::span<const std::int16_t> words) {
  print_old_entity_chains(console_, words);
}

void TextReport::take_missing_header(const PartitionEntry&) {
  console_.print_text("Can't find a brepsolid header; writing as zero length (should be fine).\n");
}

void TextReport::take_brepsolid(const BrepsolidSection& section) {
  print_brepsolid_directory(console_, section);
}

void TextReport::take_skipped_reference(const ReferencePartition& reference) {
  print_skipped_reference(console_, reference);
}

void TextReport::take_checked_block(const DataBlockResult& block) { print_checked_block(console_, block); }

void TextReport::take_plain_block(const PartitionEntry& partition) {
  console_.print("Brepsolid partition %d is not compressed and has no checksum\n", partition.id);
}

void TextReport::take_missing_trailer(const PartitionEntry& partition) {
  console_.print("Development Warning: Compressed brepsolid partition %d has a missing trailer\n",
                 partition.id);
}

void TextReport::take_extraction(const ExtractedBlock& block) { print_extraction(console_, block); }

void TextReport::take_compatibility_line(const CompatibilityLine& line) {
  print_compatibility_line(console_, line);
}

void TextReport::begin_jt(const JtHead& head) { print_jt_head(console_, head); }

void TextReport::begin_jt_table(const JtHead&) { print_jt_table_heading(console_); }

void TextReport::take_jt_body(const JtBody& body) { print_jt_body(console_, body); }

void TextReport::end_jt(const JtHead&) { console_.print_text("\n"); }

void TextReport::begin_references(ReferenceList list) { print_reference_heading(console_, list); }

void TextReport::take_reference(std::string_view text) { print_reference(console_, text); }

void TextReport::end_references(ReferenceList, bool empty) {
  if (empty) console_.print_text("  <none>\n");
}

}  // namespace inspect
