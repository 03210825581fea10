#pragma once

#include "cfi/tools/corruption_scan.h"
#include "support/findings.h"

namespace inspect {

/// Takes the findings of one file: each counts for the verdict, and is passed on.
class FileFindings final : public support::FindingSink {
 public:
  explicit FileFindings(support::FindingSink& next) : next_(next) {}

  void report(const support::Finding& finding) override {
    verdict_.add(finding);
    next_.report(finding);
  }

  const support::Verdict& verdict() const { return verdict_; }

 private:
  support::FindingSink& next_;
  support::Verdict verdict_;
};

/// Reports what a corruption scan finds, and hands it on.
class ScanFindings final : public cfi_tools::CorruptionScanSink {
 public:
  ScanFindings(support::FindingSink& findings, cfi_tools::CorruptionScanSink& next)
      : findings_(findings), next_(next) {}

  void begin() override { next_.begin(); }
  void finding(const cfi_tools::ScanFinding& found) override;
  void statistics(const cfi_tools::ByteCounts& counts) override { next_.statistics(counts); }
  void end(cfi_tools::ScanVerdict verdict) override { next_.end(verdict); }

 private:
  support::FindingSink& findings_;
  cfi_tools::CorruptionScanSink& next_;
};

}  // namespace inspect
