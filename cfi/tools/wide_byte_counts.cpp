#include "cfi/tools/wide_byte_counts.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <algorithm>
#include <bit>

// The compiler's own vectors of this size need an instruction more for each count, which takes the gain away.
#define VRII_WIDE [[gnu::target("avx512f,avx512bw,popcnt")]]

namespace cfi_tools {

namespace {

constexpr std::size_t kMostRows = 255;  // a lane counts at most one a row, and holds 255

VRII_WIDE std::uint64_t sum(__m512i lanes) {
  alignas(kWideRow) std::uint64_t eights[kWideRow / sizeof(std::uint64_t)];
  _mm512_store_si512(eights, _mm512_sad_epu8(lanes, _mm512_setzero_si512()));
  std::uint64_t total = 0;
  for (const std::uint64_t eight : eights) total += eight;
  return total;
}

/// Pairs are rare: a row is looked at again for them only when two of its line ends stand side by side.
VRII_WIDE ByteCounts count_few_rows(const unsigned char* bytes, std::size_t rows) {
  const __m512i return_byte = _mm512_set1_epi8('\r');
  const __m512i feed_byte = _mm512_set1_epi8('\n');
  const __m512i one = _mm512_set1_epi8(1);
  __m512i zeroes = _mm512_setzero_si512();
  __m512i returns = zeroes;
  __m512i feeds = zeroes;
  ByteCounts counts;
  std::uint64_t line_end_before = bytes[-1] == '\r' || bytes[-1] == '\n' ? 1 : 0;
  for (std::size_t row = 0; row < rows; ++row, bytes += kWideRow) {
    const __m512i here = _mm512_loadu_si512(bytes);
    const __mmask64 is_return = _mm512_cmpeq_epi8_mask(here, return_byte);
    const __mmask64 is_feed = _mm512_cmpeq_epi8_mask(here, feed_byte);
    zeroes = _mm512_mask_add_epi8(zeroes, _mm512_testn_epi8_mask(here, here), zeroes, one);
    returns = _mm512_mask_add_epi8(returns, is_return, returns, one);
    feeds = _mm512_mask_add_epi8(feeds, is_feed, feeds, one);
    const std::uint64_t line_ends = _cvtmask64_u64(_kor_mask64(is_return, is_feed));
    if ((line_ends & (line_ends << 1U | line_end_before)) != 0) [[unlikely]] {
      const __m512i left = _mm512_loadu_si512(bytes - 1);
      counts.crlf_pairs += static_cast<std::uint64_t>(
          std::popcount(_cvtmask64_u64(_mm512_mask_cmpeq_epi8_mask(is_feed, left, return_byte))));
      counts.lfcr_pairs += static_cast<std::uint64_t>(
          std::popcount(_cvtmask64_u64(_mm512_mask_cmpeq_epi8_mask(is_return, left, feed_byte))));
    }
    line_end_before = line_ends >> (kWideRow - 1);
  }
  counts.zeroes = sum(zeroes);
  counts.carriage_returns = sum(returns);
  counts.line_feeds = sum(feeds);
  return counts;
}

}  // namespace

bool has_wide_rows() {
  static const bool has = __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
                          __builtin_cpu_supports("popcnt") != 0;
  return has;
}

ByteCounts count_wide_rows(const unsigned char* bytes, std::size_t rows) {
  ByteCounts total;
  while (rows > 0) {
    const std::size_t taken = std::min(rows, kMostRows);
    total += count_few_rows(bytes, taken);
    bytes += taken * kWideRow;
    rows -= taken;
  }
  return total;
}

}  // namespace cfi_tools

#else

namespace cfi_tools {

bool has_wide_rows() { return false; }

ByteCounts count_wide_rows(const unsigned char* /*bytes*/, std::size_t /*rows*/) { return {}; }

}  // namespace cfi_tools

#endif
