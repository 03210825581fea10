#pragma once

#include <string>

#include "cfi/flat/cfi_storage.h"

namespace cfi_tools {

/// Copies the bytes of a stream as stored to a file. `stream_path` leads from the root storage to the stream,
/// names separated by "/", without a leading "/". The output is neither created nor emptied before the stream
/// has been found. Raises ErrorEscape: the container's for a path that leads nowhere or a stream that cannot
/// be read; else 641001 with "can not open output file %s" when the output is the part file itself,
/// "can not open %s\n" or "write failed".
void extract_stream(CFI_storage_t root, const std::string& stream_path, const std::string& output_name);

}  // namespace cfi_tools
