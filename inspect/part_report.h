#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support/byte_sink.h"

namespace inspect {

/// What stands in the document of a part, and how it is written.
struct PartReportOptions {
  bool map = true;       ///< who owns each byte of the file
  bool summary = false;  ///< release, verdict, findings and sums alone
  bool sha256 = false;   ///< of the file
  bool pretty = false;   ///< one member a line, indented; else the document is one line
};

/// What a document amounts to, for the exit status.
enum class PartOutcome : std::uint8_t {
  sound,
  findings,    ///< suspect, damaged, or no part
  unreadable,  ///< the file could not be examined
};

/// Examines a file and writes its document, a JSON object without a closing line end. The document is written
/// once the file has been read, so that a reading that dies leaves nothing behind. Trouble with the file is
/// told in the document; raises only what the sink raises, and bad_alloc.
PartOutcome write_part_report(const std::string& name, const PartReportOptions& options,
                              support::ByteSink& sink);

/// The document of a file whose examination ended without one, for the reason given.
PartOutcome write_lost_part_report(const std::string& name, std::string_view reason,
                                   const PartReportOptions& options, support::ByteSink& sink);

}  // namespace inspect
