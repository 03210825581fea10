#pragma once

#include <string>

#include "cfi/file_channel.h"

namespace cfi_tools {

/// SHA-256 over the bytes of a file, as 64 hexadecimal digits. Raises 1020059 when it cannot be read.
std::string sha256_of(VRX::System::CFI::FileChannel& file);

}  // namespace cfi_tools
