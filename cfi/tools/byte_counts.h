#pragma once

#include <cstddef>
#include <cstdint>

namespace cfi_tools {

/// How often the bytes and pairs that tell of a faulty copy occur.
struct ByteCounts {
  std::uint64_t zeroes = 0;
  std::uint64_t carriage_returns = 0;
  std::uint64_t line_feeds = 0;
  std::uint64_t crlf_pairs = 0;
  std::uint64_t lfcr_pairs = 0;

  ByteCounts& operator+=(const ByteCounts& other);
  bool operator==(const ByteCounts&) const = default;
};

/// Counts `count` bytes. A pair counts where its second byte stands, so bytes[-1] must be readable: the byte
/// before the first, or 0 when there is none.
ByteCounts count_bytes(const unsigned char* bytes, std::size_t count);

/// The same by the version that every processor runs.
ByteCounts count_bytes_in_lanes(const unsigned char* bytes, std::size_t count);

}  // namespace cfi_tools
