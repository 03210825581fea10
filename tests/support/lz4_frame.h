#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace test_support {

/// A 32-bit little-endian integer as bytes.
std::string int32_bytes(std::uint32_t value);

/// An LZ4-framed stream of `content` in blocks of `block_size` bytes, each referring to the one before.
std::string lz4_frame(std::string_view content, std::size_t block_size = 65536);

}  // namespace test_support
