#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace test_support {

/// A 32-bit little-endian integer as bytes.
std::string int32_bytes(std::uint32_t value);

/// An LZ4-framed stream of `content` by LZ4's own streaming encoder, in blocks of these sizes in turn; a
/// block refers to as much of what is before it as the encoder likes.
std::string lz4_frame(std::string_view content, const std::vector<std::size_t>& block_sizes = {65536});

}  // namespace test_support
