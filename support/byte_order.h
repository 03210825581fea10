#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace support {

/// Integers built from bytes, least or most significant byte first; `bytes` needs no alignment.
template <typename Integer>
constexpr Integer load_little(const unsigned char* bytes) {
  using Unsigned = std::make_unsigned_t<Integer>;
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < sizeof(Integer); ++i) value |= std::uint64_t{bytes[i]} << (8 * i);
  return static_cast<Integer>(static_cast<Unsigned>(value));
}

template <typename Integer>
constexpr Integer load_big(const unsigned char* bytes) {
  using Unsigned = std::make_unsigned_t<Integer>;
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < sizeof(Integer); ++i) value = value << 8U | bytes[i];
  return static_cast<Integer>(static_cast<Unsigned>(value));
}

template <typename Integer>
constexpr void store_little(unsigned char* bytes, Integer value) {
  const auto bits = static_cast<std::uint64_t>(static_cast<std::make_unsigned_t<Integer>>(value));
  for (std::size_t i = 0; i < sizeof(Integer); ++i) bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
}

}  // namespace support
