#pragma once

#include <cstdint>
#include <string>

namespace cfi_tools {

struct CorruptionScanRequest {
  static constexpr std::int32_t kVersionNotRead = -939;

  std::string file_name;
  bool silent = false;                     ///< neither announces the scan nor praises a clean file
  bool scan_requested = false;             ///< the person asked for the scan, so it is announced
  bool statistics = false;                 ///< print the counts of line-end and zero bytes
  std::int32_t version = kVersionNotRead;  ///< of the part; kVersionNotRead leaves out what depends on it
};

enum class ScanVerdict {
  clean,
  corrupt,     ///< something was found and printed, or the file could not be read to its end
  not_opened,  ///< only when not silent: "could not open %s for corruption scan" is the caller's to report
};

/// Searches the bytes of a whole file for what faulty copying leaves behind: blocks of 8192 zero bytes, a
/// lost terminating byte, converted line ends, lost zero bytes. Prints its findings on standard output.
/// A silent scan of a file that cannot be opened is clean.
ScanVerdict scan_for_corruption(const CorruptionScanRequest& request);

}  // namespace cfi_tools
