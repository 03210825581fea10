#pragma once

#include "support/diagnostics.h"

namespace VRX::System::CFI {

/// "cfi_storage": the calls of the flat interface.
const support::DiagnosticsChannel& cfi_storage_channel();

/// "structured_storage": what the maker's format does (indexes loaded, containers flushed).
const support::DiagnosticsChannel& structured_storage_channel();

/// "structured_storage_io": every typed read with its field label, value and file offset.
const support::DiagnosticsChannel& structured_storage_io_channel();

}  // namespace VRX::System::CFI
