#pragma once

#include <cstdint>
#include <string_view>

#include "support/byte_source.h"

namespace cfi_tools {

/// The stream of the part storage that keeps the feature toggles of the last save.
inline constexpr std::string_view kToggleStreamName = "LastSavedToggleInfoStream";

/// XXH32 with seed 0 over the toggle stream, up to the checksum stored at its end.
struct ToggleChecksums {
  std::uint32_t computed = 0;
  std::uint32_t stored = 0;
};

/// Prints the feature toggles and gives both checksums for the caller to compare. The stream, all integers
/// little-endian:
///
///     1  stream format
///     4  number of toggles
///        for each toggle: 4 length in bytes, then its text
///     4  checksum of all bytes before
///
/// What could be read is printed as it is read; then a stream that ends too early, or a toggle longer than
/// 4 MiB, raises ErrorEscape 1020023.
ToggleChecksums print_feature_toggles(support::ByteSource& stream);

}  // namespace cfi_tools
