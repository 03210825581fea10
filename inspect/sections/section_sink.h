#pragma once

#include <cstdint>
#include <span>

#include "inspect/sections/compatibility.h"
#include "inspect/sections/external_references.h"
#include "inspect/sections/filing_history.h"
#include "inspect/sections/jt_bodies.h"
#include "inspect/sections/part_summary.h"
#include "inspect/sections/partition_listing.h"
#include "inspect/sections/release.h"
#include "inspect/solid/solid_sink.h"

namespace inspect {

/// Takes what is known of a part, section by section and row by row, as it becomes known. Who wants none of
/// a section leaves its function out. What is handed over is valid during the call.
class SectionSink : public SolidSink {
 public:
  /// The release alone, without a summary, is asked for.
  virtual void begin_release_report() {}
  virtual void take_release(const ReleaseSection&) {}

  // The part file summary, in its order; the release stands behind its beginning, the streams stand in front
  // of its directories.
  virtual void begin_summary(const PartRecords&) {}
  virtual void take_summary_opening(const PartRecords&) {}
  virtual void take_old_history(const OldHistory&) {}
  virtual void begin_filing_history() {}
  virtual void take_filing_history(const FilingHistory&) {}
  virtual void take_unreadable_history(const UnreadableHistory&) {}
  virtual void take_summary_properties(const SummaryProperties&) {}
  virtual void take_part_modules(const PartModules&) {}
  virtual void take_summary_details(const SummaryDetails&) {}
  virtual void take_directories(const PartRecords&) {}
  virtual void take_retrieval(Retrieval) {}

  // Object-manager partitions and directories: each step as it has been read.
  virtual void begin_partition(const PartitionEntry&) {}
  virtual void take_om_start(const ObjectManagerStart&) {}
  virtual void take_not_om(const PartitionEntry&) {}
  virtual void take_om_identity(const PartitionEntry&, const ObjectManagerPartition&) {}
  virtual void take_om_counts(const PartitionEntry&, const ObjectManagerPartition&) {}
  virtual void take_om_classes(const PartitionEntry&, const ObjectManagerPartition&) {}
  virtual void take_om_root(const PartitionEntry&, const ObjectManagerPartition&) {}
  virtual void take_audit_trail(const PartitionEntry&, const ObjectManagerPartition&) {}
  virtual void take_entity_chains(const EntityChains&) {}

  /// A directory without a known layout.
  virtual void begin_unlisted_directory(const PartitionEntry&) {}

  /// The words of the entity chain header, which stand for the chains of a record manager below version 15.
  virtual void take_old_entity_chains(std::span<const std::int16_t>) {}

  // Streams of the container.
  virtual void take_compatibility_line(const CompatibilityLine&) {}
  virtual void begin_jt(const JtHead&) {}
  virtual void begin_jt_table(const JtHead&) {}
  virtual void take_jt_body(const JtBody&) {}
  virtual void end_jt(const JtHead&) {}
  virtual void begin_references(ReferenceList) {}
  virtual void take_reference(std::string_view) {}
  virtual void end_references(ReferenceList, bool empty) { static_cast<void>(empty); }
};

}  // namespace inspect
