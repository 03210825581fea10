#pragma once

#include <string>
#include <string_view>

#include "inspect/report/corruption_scan_text.h"
#include "inspect/report/feature_toggles_text.h"
#include "inspect/report/report.h"
#include "inspect/report/storage_listing_text.h"
#include "support/console.h"

namespace inspect {

/// The report of one file in the inspector's texts: each section is printed as it is handed over, each
/// finding is told as it is reported.
class TextReport final : public Report {
 public:
  struct Options {
    bool banner = true;            ///< name the file first, and echo errors and warnings on standard output
    bool announce_scan = false;    ///< the person asked for the scan: announce it, and praise a clean file
    bool scan_statistics = false;  ///< print the counts of line-end and zero bytes
  };

  /// The console outlives the report.
  TextReport(std::string_view file_name, const Options& options, support::Console& console);

  void report(const support::Finding& finding) override;
  void begin_file() override;
  void take_empty_file() override;
  void take_truncation() override;
  void take_corruption(Corruption corruption) override;
  void take_clean_scan(const PartRecords& part) override;
  void take_absent_toggles() override;
  cfi_tools::CorruptionScanSink& scan() override { return scan_; }
  cfi_tools::FeatureToggleSink& toggles() override { return toggles_; }
  cfi_tools::StorageListingSink& storages() override { return storages_; }

  void begin_release_report() override;
  void take_release(const ReleaseSection& release) override;
  void begin_summary(const PartRecords& part) override;
  void take_summary_opening(const PartRecords& part) override;
  void take_old_history(const OldHistory& history) override;
  void begin_filing_history() override;
  void take_filing_history(const FilingHistory& history) override;
  void take_unreadable_history(const UnreadableHistory& history) override;
  void take_summary_properties(const SummaryProperties& properties) override;
  void take_part_modules(const PartModules& modules) override;
  void take_summary_details(const SummaryDetails& details) override;
  void take_directories(const PartRecords& part) override;
  void take_retrieval(Retrieval retrieval) override;

  void begin_partition(const PartitionEntry& partition) override;
  void take_om_start(const ObjectManagerStart& start) override;
  void take_not_om(const PartitionEntry& partition) override;
  void take_om_identity(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_om_counts(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_om_classes(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_om_root(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_audit_trail(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_entity_chains(const EntityChains& chains) override;
  void begin_unlisted_directory(const PartitionEntry& partition) override;
  void take_old_entity_chains(std::span<const std::int16_t> words) override;

  void take_missing_header(const PartitionEntry& partition) override;
  void take_brepsolid(const BrepsolidSection& section) override;
  void take_skipped_reference(const ReferencePartition& reference) override;
  void take_checked_block(const DataBlockResult& block) override;
  void take_plain_block(const PartitionEntry& partition) override;
  void take_missing_trailer(const PartitionEntry& partition) override;
  void take_extraction(const ExtractedBlock& block) override;

  void take_compatibility_line(const CompatibilityLine& line) override;
  void begin_jt(const JtHead& head) override;
  void begin_jt_table(const JtHead& head) override;
  void take_jt_body(const JtBody& body) override;
  void end_jt(const JtHead& head) override;
  void begin_references(ReferenceList list) override;
  void take_reference(std::string_view text) override;
  void end_references(ReferenceList list, bool empty) override;

 private:
  std::string file_name_;  ///< fit for a terminal
  Options options_;
  support::Console& console_;
  CorruptionScanText scan_;
  FeatureTogglesText toggles_;
  StorageListingText storages_;
};

}  // namespace inspect
