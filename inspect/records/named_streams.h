#pragma once

#include <memory>
#include <string_view>

#include "cfi/stream_names.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/records/inspect_file.h"

namespace inspect {

/// Opens a stream of the container that is wanted by name alone (COMPATIBILITY, JT, DisplayJT): looked up in
/// /Root, /Root/VR_PART, /Root/FastLoad, then in the rest of the tree. An LZ4-framed stream is expanded as it
/// is read. Null when the file is flat or has no such stream; raises the container's errors.
std::unique_ptr<support::ByteSource> open_named_stream(InspectFile& file, std::string_view name);

/// Opens a stream of a storage directly under the root; null when either is absent.
std::unique_ptr<support::ByteSource> open_child_stream(InspectFile& file, std::string_view storage,
                                                       std::string_view name);

/// Runs `visit(source)` with the named stream when there is one. An escape is reported and fails the file;
/// the caller goes on with its next step.
template <typename Visit>
void visit_named_stream(InspectFile& file, std::string_view name, Visit visit) {
  attempt(file, [&] {
    if (const auto source = open_named_stream(file, name)) visit(*source);
  });
}

}  // namespace inspect
