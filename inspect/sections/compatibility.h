#pragma once

#include <string_view>

#include "support/byte_source.h"

namespace inspect {

class SectionSink;

/// One fact of the compatibility stream. The first line names the earliest compatible release.
struct CompatibilityLine {
  bool first = false;
  std::string_view text;  ///< as stored, without its line end
};

/// Hands over the lines of the COMPATIBILITY stream: text, one fact a line. Raises what the stream raises,
/// behind the lines before the damage.
void read_compatibility(support::ByteSource& source, SectionSink& sink);

}  // namespace inspect
