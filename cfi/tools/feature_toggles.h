#pragma once

#include <cstdint>
#include <string_view>

#include "support/byte_source.h"

namespace cfi_tools {

/// XXH32 with seed 0 over the toggle stream, up to the checksum stored at its end.
struct ToggleChecksums {
  std::uint32_t computed = 0;
  std::uint32_t stored = 0;
};

/// Takes the feature toggles as they are read.
class FeatureToggleSink {
 public:
  FeatureToggleSink() = default;
  FeatureToggleSink(const FeatureToggleSink&) = delete;
  FeatureToggleSink& operator=(const FeatureToggleSink&) = delete;
  virtual ~FeatureToggleSink() = default;

  /// First of all, once.
  virtual void begin(int stream_format) = 0;

  /// The text of each toggle as stored.
  virtual void toggle(std::string_view text) = 0;
};

/// Hands over the feature toggles and gives both checksums for the caller to compare. The stream, all
/// integers little-endian:
///
///     1  stream format
///     4  number of toggles
///        for each toggle: 4 length in bytes, then its text
///     4  checksum of all bytes before
///
/// What could be read is handed over as it is read; then a stream that ends too early, or a toggle longer
/// than 4 MiB, raises ErrorEscape 1020023.
ToggleChecksums read_feature_toggles(support::ByteSource& stream, FeatureToggleSink& sink);

}  // namespace cfi_tools
