#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace test_support {

/// Composes the bytes of records in a chosen byte order.
class RecordBytes {
 public:
  explicit RecordBytes(std::endian order) : order_(order) {}

  RecordBytes& u8(std::uint64_t value) { return put(value, 1); }
  RecordBytes& u16(std::uint64_t value) { return put(value, 2); }
  RecordBytes& u32(std::uint64_t value) { return put(value, 4); }
  RecordBytes& u64(std::uint64_t value) { return put(value, 8); }
  RecordBytes& raw(std::string_view bytes) {
    bytes_ += bytes;
    return *this;
  }

  std::size_t size() const { return bytes_.size(); }
  const std::string& bytes() const { return bytes_; }

 private:
  RecordBytes& put(std::uint64_t value, int width) {
    for (int i = 0; i < width; ++i) {
      const int shift = 8 * (order_ == std::endian::little ? i : width - 1 - i);
      bytes_ += static_cast<char>(value >> shift & 0xFFU);
    }
    return *this;
  }

  std::endian order_;
  std::string bytes_;
};

/// The value of an integer in the width of its record field.
template <std::integral Integer>
std::uint64_t field(Integer value) {
  return static_cast<std::uint64_t>(value);
}

}  // namespace test_support
