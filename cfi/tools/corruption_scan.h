#pragma once

#include <cstdint>
#include <string>

#include "cfi/file_channel.h"
#include "cfi/tools/byte_counts.h"
#include "support/console.h"

namespace cfi_tools {

struct CorruptionScanRequest {
  static constexpr std::int32_t kVersionNotRead = -939;

  std::string file_name;
  bool silent = false;                     ///< a file that cannot be opened is clean
  std::int32_t version = kVersionNotRead;  ///< of the part; kVersionNotRead leaves out what depends on it
  support::Console* console = nullptr;     ///< for progress; null for none
};

enum class ScanVerdict {
  clean,
  corrupt,     ///< something was found, or the file could not be read to its end
  not_opened,  ///< only when not silent: "could not open %s for corruption scan" is the caller's to report
};

enum class ScanFindingKind {
  read_failed,             ///< the system cannot read on
  unexpected_end,          ///< the file has become shorter
  zero_blocks,             ///< aligned blocks that are all zero
  only_zeroes,             ///< and nothing else in the file
  not_terminated,          ///< the last byte is not 0xFF
  ends_on_block_boundary,  ///< nor is that chance: the size is a multiple of 256 bytes
  no_line_feeds,
  returns_on_all_line_feeds,
  no_carriage_returns,
  line_feeds_on_all_returns,
  no_zero_bytes,
};

struct ScanFinding {
  ScanFindingKind kind = ScanFindingKind::read_failed;
  std::uint64_t offset = 0;  ///< of zero_blocks in the file
  std::uint64_t size = 0;    ///< of zero_blocks in bytes
};

/// Takes what a scan finds, as it finds it.
class CorruptionScanSink {
 public:
  CorruptionScanSink() = default;
  CorruptionScanSink(const CorruptionScanSink&) = delete;
  CorruptionScanSink& operator=(const CorruptionScanSink&) = delete;
  virtual ~CorruptionScanSink() = default;

  /// Before the file is opened.
  virtual void begin() = 0;
  virtual void finding(const ScanFinding& found) = 0;

  /// The counts over the file, once it has been read: behind the findings about its blocks, before the
  /// others.
  virtual void statistics(const ByteCounts& counts) = 0;

  /// When the file has been scanned to its end.
  virtual void end(ScanVerdict verdict) = 0;
};

/// Searches the bytes of a whole file for what faulty copying leaves behind: blocks of 8192 zero bytes, a
/// lost terminating byte, converted line ends, lost zero bytes.
ScanVerdict scan_for_corruption(const CorruptionScanRequest& request, CorruptionScanSink& sink);

/// The same over a file that is open already.
ScanVerdict scan_for_corruption(VRX::System::CFI::FileChannel& channel, const CorruptionScanRequest& request,
                                CorruptionScanSink& sink);

}  // namespace cfi_tools
