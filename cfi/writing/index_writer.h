#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "cfi/kvpm/kvpm_format.h"
#include "cfi/storage_file.h"

namespace VRX::System::CFI {

/// One element as an index lists it.
struct ListedElement {
  std::string path;  ///< full path from "/Root", without a final "/"
  ElementType type = ElementType::stream;
  ClassId class_id;              ///< of a storage
  std::uint64_t offset = 0;      ///< of a stream's bytes in the file
  std::uint64_t size_bytes = 0;  ///< of a stream
};

/// The bytes of an index of that version; `part_header` (16-bit units) goes into a header index of version 3
/// and later.
std::string index_bytes(int version, IndexArea area, std::span<const ListedElement> elements,
                        std::span<const std::byte> part_header);

/// The checksum that follows `index`.
std::uint32_t index_checksum(std::string_view index);

/// Appends the bytes of an integer, least significant first.
template <typename Integer>
void append_little(std::string& bytes, Integer value) {
  for (std::size_t i = 0; i < sizeof(Integer); ++i) {
    bytes += static_cast<char>(static_cast<unsigned char>(static_cast<std::uint64_t>(value) >> (8 * i)));
  }
}

}  // namespace VRX::System::CFI
