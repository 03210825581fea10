#include "tests/support/lz4_frame.h"

#include <lz4.h>

#include <array>

#include "support/byte_order.h"

namespace test_support {

std::string int32_bytes(std::uint32_t value) {
  std::array<unsigned char, 4> bytes = {};
  support::store_little(bytes.data(), value);
  return {bytes.begin(), bytes.end()};
}

std::string lz4_frame(std::string_view content, const std::vector<std::size_t>& block_sizes) {
  LZ4_stream_t state;
  LZ4_initStream(&state, sizeof state);
  std::string frame("LZ4\x01");
  std::vector<char> packed(static_cast<std::size_t>(LZ4_compressBound(65536)));
  for (std::size_t number = 0; !content.empty(); ++number) {
    const std::string_view block = content.substr(0, block_sizes[number % block_sizes.size()]);
    const int length =
        LZ4_compress_fast_continue(&state, block.data(), packed.data(), static_cast<int>(block.size()),
                                   static_cast<int>(packed.size()), 1);
    frame += int32_bytes(static_cast<std::uint32_t>(length));
    frame.append(packed.data(), static_cast<std::size_t>(length));
    content.remove_prefix(block.size());
  }
  return frame;
}

}  // namespace test_support
