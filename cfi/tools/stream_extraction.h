#pragma once

#include <string>

#include "cfi/storage_file.h"
#include "support/console.h"
#include "support/output_file.h"

namespace cfi_tools {

struct StreamExtraction {
  support::Console* console = nullptr;  ///< for progress and an unfinished output; null for none
  std::string part_name;                ///< for the progress line
  support::FileIdentity part;           ///< of the part file, which no output may be
  std::string stream_path;  ///< from the root storage, names separated by "/", without a leading "/"
  std::string output_name;
};

/// Copies the bytes of a stream as stored to a file. The output is neither created nor emptied before the
/// stream has been found. Raises ErrorEscape: the container's for a path that leads nowhere or a stream that
/// cannot be read; else 641001 with "can not open output file %s" when the output is the part file itself,
/// "can not open %s\n" or "write failed".
void extract_stream(VRX::System::CFI::StorageFile& file, const StreamExtraction& wanted);

}  // namespace cfi_tools
