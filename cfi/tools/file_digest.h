#pragma once

#include <string>

namespace cfi_tools {

/// SHA-256 over the bytes of a file, as 64 hexadecimal digits. Raises 1020059 when it cannot be read.
std::string sha256_of_file(const std::string& name);

}  // namespace cfi_tools
