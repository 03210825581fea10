#pragma once

#include <cstdint>
#include <string_view>

#include "inspect/records/inspect_file.h"

namespace inspect {

class SectionSink;

/// Which release wrote the part.
struct ReleaseSection {
  std::int32_t number = PartRecords::kVersionNotRead;  ///< as stored in the header
  bool known = false;                                  ///< 1 to 70
  bool development = false;                            ///< written by a development build
  std::string_view name;  ///< of a development part that of the release that follows; empty when unknown
};

/// Hands over the release. A development part of the last release is a finding first: the program has not
/// learned of the next one.
void read_release(const InspectFile& file, SectionSink& sink);

}  // namespace inspect
