#include "tests/support/container_builder.h"

#include <algorithm>
#include <span>
#include <stdexcept>

#include "cfi/writing/index_writer.h"
#include "support/byte_order.h"
#include "tests/support/files.h"
#include "tests/support/program_runner.h"

namespace test_support {

using namespace VRX::System::CFI;

namespace {

template <typename Integer>
Integer load(const std::string& bytes, std::size_t offset) {
  unsigned char raw[sizeof(Integer)];
  std::copy_n(bytes.data() + offset, sizeof raw, raw);
  return support::load_little<Integer>(raw);
}

template <typename Integer>
std::string little(Integer value) {
  std::string bytes;
  append_little(bytes, value);
  return bytes;
}

}  // namespace

ContainerBuilder::Item* ContainerBuilder::find(std::string_view path) {
  const auto found = std::ranges::find(items_, path, &Item::path);
  return found == items_.end() ? nullptr : &*found;
}

ContainerBuilder::Item& ContainerBuilder::item(std::string_view path, ElementType type) {
  if (Item* known = find(path)) return *known;
  const std::string_view parent = path.substr(0, path.rfind('/'));
  if (!parent.empty()) item(parent, ElementType::storage);
  return items_.emplace_back(Item{std::string(path), type, {}, {}, {}});
}

ContainerBuilder& ContainerBuilder::storage(std::string_view path, const ClassId& class_id) {
  item(path, ElementType::storage).class_id = class_id;
  return *this;
}

ContainerBuilder& ContainerBuilder::stream(std::string_view path, std::string_view bytes) {
  item(path, ElementType::stream).bytes = bytes;
  return *this;
}

ContainerBuilder& ContainerBuilder::area(std::string_view path, Area area) {
  item(path, ElementType::storage).area = area;
  return *this;
}

ContainerBuilder& ContainerBuilder::part_header(std::string_view bytes) {
  part_header_ = bytes;
  return *this;
}

ContainerBuilder& ContainerBuilder::no_footer() {
  options_.has_footer = false;
  return *this;
}

ContainerBuilder& ContainerBuilder::header_area(std::uint64_t size) {
  options_.maximum_header_size = size;
  return *this;
}

void ContainerBuilder::write(const std::string& file_name) const {
  TopStorageWriter writer(file_name, options_);
  writer.set_part_header(std::as_bytes(std::span(part_header_)));
  for (const Item& item : items_) {
    const bool is_storage = item.type == ElementType::storage;
    const auto number =
        is_storage ? writer.create_storage(item.path, item.class_id) : writer.create_stream(item.path);
    if (!is_storage) {
      writer.container(number).write(item.bytes.data(), item.bytes.size());
      writer.release(number);
    }
    if (item.area) writer.set_area(number, *item.area);
  }
  writer.commit();
}

std::string ContainerBuilder::bytes() const {
  const TemporaryFolder folder;
  write(folder.path() / "built");
  return folder.read("built");
}

std::size_t ContainerDamage::index_start(Area area) const {
  const std::size_t header = header_index_offset(version());
  return area == Area::header ? header : static_cast<std::size_t>(load<std::int64_t>(sound_, header - 8));
}

std::size_t ContainerDamage::count_offset(Area area) const {
  return index_start(area) + (version() >= kFirstVersionWithIndexSignature ? kIndexSignatureSize : 0);
}

std::size_t ContainerDamage::entries_end(Area area) const {
  std::size_t at = count_offset(area) + 4;
  for (auto count = load<std::int32_t>(sound_, at - 4); count > 0; --count) {
    at += 4 + static_cast<std::size_t>(load<std::int32_t>(sound_, at)) + 16;
  }
  return at;
}

std::size_t ContainerDamage::index_end(Area area) const {
  std::size_t at = entries_end(area);
  if (area == Area::header && version() >= kFirstVersionWithPartHeader) {
    at += 2 + 2 * static_cast<std::size_t>(load<std::int16_t>(sound_, at));
  }
  return at + (version() >= kFirstVersionWithChecksum ? 4 : 0);
}

std::size_t ContainerDamage::entry_offset(std::string_view path) const {
  for (const std::string suffix : {"", "/"}) {
    const std::string listed = std::string(path) + suffix;
    const std::size_t found = sound_.find(little(static_cast<std::int32_t>(listed.size())) + listed);
    if (found != std::string::npos) return found;
  }
  throw std::invalid_argument("no entry " + std::string(path));
}

ContainerDamage& ContainerDamage::flip(std::size_t offset, unsigned bit) {
  bytes_[offset] = static_cast<char>(bytes_[offset] ^ (1 << bit));
  return *this;
}

ContainerDamage& ContainerDamage::cut(std::size_t size) {
  bytes_.resize(size);
  return *this;
}

ContainerDamage& ContainerDamage::put(std::size_t offset, std::string_view bytes) {
  bytes_.replace(offset, bytes.size(), bytes);
  return *this;
}

ContainerDamage& ContainerDamage::entry_count(Area area, std::int32_t count) {
  return put(count_offset(area), little(count));
}

ContainerDamage& ContainerDamage::path_length(std::string_view path, std::int32_t length) {
  return put(entry_offset(path), little(length));
}

ContainerDamage& ContainerDamage::stream_place(std::string_view path, std::int64_t offset,
                                               std::int64_t size) {
  return put(entry_offset(path) + 4 + path.size(), little(offset) + little(size));
}

ContainerDamage& ContainerDamage::part_header_length(std::int16_t length) {
  return put(entries_end(Area::header), little(length));
}

ContainerDamage& ContainerDamage::footer_offset(std::int64_t offset) {
  return put(header_index_offset(version()) - 8, little(offset));
}

ContainerDamage& ContainerDamage::fast_load_end(std::int64_t offset) {
  return put(header_index_offset(version()) - 16, little(offset));
}

ContainerDamage& ContainerDamage::fix_checksums() {
  for (const Area area : {Area::header, Area::footer}) {
    if (area == Area::footer && load<std::int64_t>(sound_, header_index_offset(version()) - 8) < 0) continue;
    const std::size_t start = index_start(area);
    const std::size_t end = index_end(area) - 4;
    put(end, little(index_checksum(std::string_view(bytes_).substr(start, end - start))));
  }
  return *this;
}

}  // namespace test_support
