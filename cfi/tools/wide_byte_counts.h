#pragma once

#include <cstddef>

#include "cfi/tools/byte_counts.h"

namespace cfi_tools {

inline constexpr std::size_t kWideRow = 64;  ///< bytes

/// True when the processor has vector registers of 64 bytes that compare byte by byte.
bool has_wide_rows();

/// As count_bytes(), for whole rows; only where has_wide_rows().
ByteCounts count_wide_rows(const unsigned char* bytes, std::size_t rows);

}  // namespace cfi_tools
