#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "support/byte_source.h"

namespace inspect {

/// A text of a table of external references.
struct ReferencedName {
  std::string_view text;
  std::uint64_t times = 1;
  std::uint64_t first_offset = 0;  ///< where it stands first, in bytes from the start of the stream
  std::uint64_t last_offset = 0;
  bool names_part = false;  ///< it names a ".prt" file
};

/// Hands over the printable texts of an ExternalReferences stream, each once and with the number of its
/// occurrences, in the order in which they occur first. Texts beyond a bound on memory come each time they
/// occur, as found. Raises what the stream raises.
void visit_referenced_names(support::ByteSource& stream,
                            const std::function<void(const ReferencedName&)>& visit);

}  // namespace inspect
