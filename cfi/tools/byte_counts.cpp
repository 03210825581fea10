#include "cfi/tools/byte_counts.h"

#include <algorithm>

#include "cfi/tools/wide_byte_counts.h"

// One version of the hot loop for any processor and one for 32-byte vectors, chosen when the program starts.
#if defined(__x86_64__)
#define VRII_VECTOR_CLONES [[gnu::target_clones("default", "avx2")]]
#else
#define VRII_VECTOR_CLONES
#endif

namespace cfi_tools {

namespace {

constexpr unsigned char kCarriageReturn = 0x0d;
constexpr unsigned char kLineFeed = 0x0a;

constexpr std::size_t kLanes = 32;
constexpr std::size_t kMostRows = 255;  // a lane counts at most one a row, and holds 255

/// One byte-wide counter for each lane of a row, so that the compiler counts a whole row at a time.
struct LaneCounts {
  std::uint8_t zeroes[kLanes] = {};
  std::uint8_t carriage_returns[kLanes] = {};
  std::uint8_t line_feeds[kLanes] = {};
  std::uint8_t crlf_pairs[kLanes] = {};
  std::uint8_t lfcr_pairs[kLanes] = {};
};

std::uint64_t sum(const std::uint8_t (&lanes)[kLanes]) {
  std::uint64_t total = 0;
  for (const std::uint8_t lane : lanes) total += lane;
  return total;
}

VRII_VECTOR_CLONES void count_rows(const unsigned char* bytes, std::size_t rows, LaneCounts& counts) {
  LaneCounts lanes;
  for (std::size_t row = 0; row < rows; ++row, bytes += kLanes) {
    for (std::size_t i = 0; i < kLanes; ++i) {
      const unsigned char byte = bytes[i];
      const unsigned char left = *(bytes + i - 1);
      const bool is_cr = byte == kCarriageReturn;
      const bool is_lf = byte == kLineFeed;
      lanes.zeroes[i] = static_cast<std::uint8_t>(lanes.zeroes[i] + (byte == 0));
      lanes.carriage_returns[i] = static_cast<std::uint8_t>(lanes.carriage_returns[i] + is_cr);
      lanes.line_feeds[i] = static_cast<std::uint8_t>(lanes.line_feeds[i] + is_lf);
      lanes.crlf_pairs[i] =
          static_cast<std::uint8_t>(lanes.crlf_pairs[i] + (is_lf & (left == kCarriageReturn)));
      lanes.lfcr_pairs[i] = static_cast<std::uint8_t>(lanes.lfcr_pairs[i] + (is_cr & (left == kLineFeed)));
    }
  }
  counts = lanes;
}

}  // namespace

ByteCounts& ByteCounts::operator+=(const ByteCounts& other) {
  zeroes += other.zeroes;
  carriage_returns += other.carriage_returns;
  line_feeds += other.line_feeds;
  crlf_pairs += other.crlf_pairs;
  lfcr_pairs += other.lfcr_pairs;
  return *this;
}

ByteCounts count_bytes(const unsigned char* bytes, std::size_t count) {
  if (!has_wide_rows()) return count_bytes_in_lanes(bytes, count);
  const std::size_t wide = count / kWideRow * kWideRow;
  ByteCounts total = count_wide_rows(bytes, wide / kWideRow);
  return total += count_bytes_in_lanes(bytes + wide, count - wide);
}

ByteCounts count_bytes_in_lanes(const unsigned char* bytes, std::size_t count) {
  ByteCounts total;
  for (std::size_t rows = count / kLanes; rows > 0;) {
    const std::size_t taken = std::min(rows, kMostRows);
    LaneCounts lanes;
    count_rows(bytes, taken, lanes);
    total += {sum(lanes.zeroes), sum(lanes.carriage_returns), sum(lanes.line_feeds), sum(lanes.crlf_pairs),
              sum(lanes.lfcr_pairs)};
    bytes += taken * kLanes;
    rows -= taken;
  }
  for (std::size_t i = 0; i < count % kLanes; ++i) {
    const unsigned char byte = bytes[i];
    const unsigned char left = *(bytes + i - 1);
    total.zeroes += byte == 0;
    total.carriage_returns += byte == kCarriageReturn;
    total.line_feeds += byte == kLineFeed;
    total.crlf_pairs += byte == kLineFeed && left == kCarriageReturn;
    total.lfcr_pairs += byte == kCarriageReturn && left == kLineFeed;
  }
  return total;
}

}  // namespace cfi_tools
