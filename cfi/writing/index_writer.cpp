#include "cfi/writing/index_writer.h"

#include <xxhash.h>

namespace VRX::System::CFI {

namespace {

void append_class_id(std::string& bytes, const ClassId& id) {
  append_little(bytes, id.data1);
  append_little(bytes, id.data2);
  append_little(bytes, id.data3);
  for (const std::uint8_t byte : id.data4) append_little(bytes, byte);
}

void append_element(std::string& bytes, const ListedElement& element) {
  const bool is_storage = element.type == ElementType::storage;
  append_little(bytes, static_cast<std::int32_t>(element.path.size() + (is_storage ? 1 : 0)));
  bytes += element.path;
  if (is_storage) {
    bytes += '/';
    append_class_id(bytes, element.class_id);
  } else {
    append_little(bytes, element.offset);
    append_little(bytes, element.size_bytes);
  }
}

}  // namespace

std::uint32_t index_checksum(std::string_view index) { return XXH32(index.data(), index.size(), 0); }

std::string index_bytes(int version, IndexArea area, std::span<const ListedElement> elements,
                        std::span<const std::byte> part_header) {
  std::string bytes;
  if (version >= kFirstVersionWithIndexSignature) bytes += index_signature(area);
  append_little(bytes, static_cast<std::int32_t>(elements.size()));
  for (const ListedElement& element : elements) append_element(bytes, element);
  if (area == IndexArea::header && version >= kFirstVersionWithPartHeader) {
    append_little(bytes, static_cast<std::int16_t>(part_header.size() / 2));
    for (const std::byte byte : part_header) bytes += std::to_integer<char>(byte);
  }
  if (version >= kFirstVersionWithChecksum) append_little(bytes, index_checksum(bytes));
  return bytes;
}

}  // namespace VRX::System::CFI
