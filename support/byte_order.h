#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace support {

/// Byte `i` shifted left by `shift(i)` bits, in one expression for all: compilers make a single load of it.
template <typename Integer, std::size_t... i>
constexpr Integer join_bytes(const unsigned char* bytes, std::index_sequence<i...>, auto shift) {
  using Unsigned = std::make_unsigned_t<Integer>;
  return static_cast<Integer>(static_cast<Unsigned>(((std::uint64_t{bytes[i]} << shift(i)) | ...)));
}

/// Integers built from bytes, least or most significant byte first; `bytes` needs no alignment.
template <typename Integer>
constexpr Integer load_little(const unsigned char* bytes) {
  return join_bytes<Integer>(bytes, std::make_index_sequence<sizeof(Integer)>(),
                             [](std::size_t i) { return 8 * i; });
}

template <typename Integer>
constexpr Integer load_big(const unsigned char* bytes) {
  return join_bytes<Integer>(bytes, std::make_index_sequence<sizeof(Integer)>(),
                             [](std::size_t i) { return 8 * (sizeof(Integer) - 1 - i); });
}

template <typename Integer>
constexpr void store_little(unsigned char* bytes, Integer value) {
  const auto bits = static_cast<std::uint64_t>(static_cast<std::make_unsigned_t<Integer>>(value));
  for (std::size_t i = 0; i < sizeof(Integer); ++i) bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
}

}  // namespace support
