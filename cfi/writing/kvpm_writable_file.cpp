#include "cfi/writing/kvpm_writable_file.h"

#include <algorithm>
#include <tuple>

#include "cfi/element_path.h"
#include "cfi/kvpm/kvpm_tree.h"

namespace VRX::System::CFI {

namespace {

TopStorageWriter::Number number_of(ElementId element) {
  return static_cast<TopStorageWriter::Number>(element);
}

}  // namespace

KVPMWritableFile::KVPMWritableFile(const std::string& file_name) : writer_(file_name) {}

KVPMWritableFile::KVPMWritableFile(const std::string& file_name, FileChannel& old)
    : old_(std::make_unique<TopStorage>(old)), writer_(file_name, *old_) {}

std::optional<ElementId> KVPMWritableFile::find_child(ElementId storage, std::string_view name) {
  return writer_.find(joined_path(writer_.element(number_of(storage)).path, name));
}

ElementNode KVPMWritableFile::node(ElementId element) {
  const TopStorageWriter::Number number = number_of(element);
  const ListedElement& listed = writer_.element(number);
  return {listed.type, last_component(listed.path), writer_.area(number), listed.offset,
          writer_.size(number)};
}

ClassId KVPMWritableFile::class_id(ElementId element) { return writer_.element(number_of(element)).class_id; }

std::string KVPMWritableFile::path(ElementId element) {
  return std::string(path_below_root(writer_.element(number_of(element)).path));
}

std::vector<ElementId> KVPMWritableFile::children(ElementId storage) {
  const std::vector<TopStorageWriter::Number> numbers = writer_.children(number_of(storage));
  return {numbers.begin(), numbers.end()};
}

std::uint64_t KVPMWritableFile::listed_offset(ElementId element) {
  const ElementNode shown = node(element);
  if (shown.type == ElementType::stream) return shown.start_offset;
  std::uint64_t smallest = kNoStartOffset;
  for (const ElementId child : children(element)) {
    const ElementNode inside = node(child);
    if (inside.type == ElementType::stream) smallest = std::min(smallest, inside.start_offset);
  }
  return smallest;
}

std::vector<ElementId> KVPMWritableFile::readable_children(ElementId storage) {
  std::vector<std::tuple<std::uint64_t, std::string_view, ElementId>> items;
  for (const ElementId child : children(storage)) {
    const ElementNode shown = node(child);
    items.emplace_back(listing_key(shown.area, listed_offset(child)), shown.name, child);
  }
  std::ranges::sort(items);
  std::vector<ElementId> listed;
  listed.reserve(items.size());
  for (const auto& item : items) listed.push_back(std::get<2>(item));
  return listed;
}

std::unique_ptr<support::ByteSource> KVPMWritableFile::open_stream(ElementId stream) {
  return writer_.open_for_read(number_of(stream));
}

ElementId KVPMWritableFile::create_storage(ElementId parent, std::string_view name) {
  return writer_.create_storage(joined_path(writer_.element(number_of(parent)).path, name), {});
}

ElementId KVPMWritableFile::create_stream(ElementId parent, std::string_view name) {
  return writer_.create_stream(joined_path(writer_.element(number_of(parent)).path, name));
}

void KVPMWritableFile::set_class(ElementId storage, const ClassId& class_id) {
  writer_.set_class(number_of(storage), class_id);
}

Container& KVPMWritableFile::container(ElementId stream) { return writer_.container(number_of(stream)); }

Container& KVPMWritableFile::open_for_write(ElementId stream) {
  return writer_.open_for_write(number_of(stream));
}

void KVPMWritableFile::release(ElementId stream) { writer_.release(number_of(stream)); }

}  // namespace VRX::System::CFI
