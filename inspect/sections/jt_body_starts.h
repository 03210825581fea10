#pragma once

#include <string_view>

#include "inspect/records/inspect_file.h"
#include "support/byte_source.h"

namespace inspect {

/// Looks at the first bytes of the JT bodies that the table of a stream lists, of a bounded number of them:
/// one that does not begin like a JT file, or lies outside of the stream, is a finding. Raises what the
/// stream raises.
void check_jt_body_starts(const InspectFile& file, support::ByteSource& stream, const char* stream_name,
                          std::string_view path);

}  // namespace inspect
