#pragma once

#include "cfi/flat/cfi_storage.h"

namespace cfi_tools {

/// Prints the storages and streams of an open storage file in the order of its format, and whether the file
/// has been truncated. Where the footer index of the maker's format is damaged, what the header index lists
/// is printed before its ErrorEscape is raised.
void print_storages(CFI_storage_t root);

}  // namespace cfi_tools
