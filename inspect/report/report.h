#pragma once

#include <cstdint>

#include "cfi/tools/corruption_scan.h"
#include "cfi/tools/feature_toggles.h"
#include "cfi/tools/storage_listing.h"
#include "inspect/sections/section_sink.h"
#include "support/findings.h"

namespace inspect {

enum class Corruption : std::uint8_t { certain, probable };

/// What the inspection of one file gives: its sections and findings, in the order in which they become known.
/// A report gets nothing but what is handed over; it reads no part.
class Report : public SectionSink, public support::FindingSink {
 public:
  /// The file is open.
  virtual void begin_file() {}
  virtual void take_empty_file() {}
  virtual void take_truncation() {}

  /// The findings so far amount to a corruption.
  virtual void take_corruption(Corruption) {}

  /// The scan that was asked for has found nothing.
  virtual void take_clean_scan(const PartRecords&) {}
  virtual void take_absent_toggles() {}

  virtual cfi_tools::CorruptionScanSink& scan() = 0;
  virtual cfi_tools::FeatureToggleSink& toggles() = 0;
  virtual cfi_tools::StorageListingSink& storages() = 0;
};

}  // namespace inspect
