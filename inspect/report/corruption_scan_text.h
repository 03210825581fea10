#pragma once

#include "cfi/tools/corruption_scan.h"
#include "support/console.h"

namespace inspect {

/// The text of the corruption scan.
class CorruptionScanText final : public cfi_tools::CorruptionScanSink {
 public:
  struct Options {
    bool announces = false;   ///< the person asked for the scan: it is announced, and a clean file praised
    bool statistics = false;  ///< print the counts of line-end and zero bytes
  };
  CorruptionScanText(const Options& options, support::Console& console)
      : options_(options), console_(console) {}

  void begin() override;
  void finding(const cfi_tools::ScanFinding& found) override;
  void statistics(const cfi_tools::ByteCounts& counts) override;
  void end(cfi_tools::ScanVerdict verdict) override;

 private:
  Options options_;
  support::Console& console_;
};

}  // namespace inspect
