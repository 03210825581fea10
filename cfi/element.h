#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

/// What can be told of one element of a storage file.
namespace VRX::System::CFI {

/// A class identifier in GUID layout.
struct ClassId {
  std::uint32_t data1 = 0;
  std::uint16_t data2 = 0;
  std::uint16_t data3 = 0;
  std::array<std::uint8_t, 8> data4 = {};
  bool operator==(const ClassId&) const = default;
};

enum class ElementType { storage, stream };

/// Which of the two indexes of the maker's format lists an element.
enum class IndexArea { header, footer };

/// Names one element inside its StorageFile; meaningless in any other. The root storage is kRootElement.
using ElementId = std::uint64_t;
inline constexpr ElementId kRootElement = 0;

/// What a contents enquiry tells of one element. `size` is in bytes and 0 for storages; `class_id` is zero
/// for streams.
struct ElementRecord {
  ElementType type = ElementType::stream;
  std::string name;
  std::uint64_t size = 0;
  ClassId class_id;
};

/// What a listing tells of one element. The name is valid until the file is asked for another node, loads
/// more, or is closed.
struct ElementNode {
  ElementType type = ElementType::stream;
  std::string_view name;
  IndexArea area = IndexArea::header;  ///< always `header` where the format has one directory
  std::uint64_t start_offset = 0;      ///< in the file; 0 for storages and where streams lie in pieces
  std::uint64_t size = 0;              ///< in bytes; 0 for storages
};

}  // namespace VRX::System::CFI
