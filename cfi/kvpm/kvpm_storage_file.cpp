#include "cfi/kvpm/kvpm_storage_file.h"

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "cfi/kvpm/kvpm_layout.h"

namespace VRX::System::CFI {

KVPMStorageFile::KVPMStorageFile(FileChannel& channel) : top_(channel) {}

// Once the footer index is loaded, or never will be, the index does not grow any more.
KVPMTree& KVPMStorageFile::tree() {
  if (!tree_) tree_ = std::make_unique<KVPMTree>(top_.index());
  return *tree_;
}

std::optional<ElementId> KVPMStorageFile::find_child(ElementId storage, std::string_view name) {
  if (broken_name_condition(name) != nullptr) return std::nullopt;
  // Once there is a tree, a listing that opens each of a million storages finds them without a search.
  if (tree_) {
    if (const auto found = tree_->find_storage(storage, name)) return found;
  }
  return top_.find(joined_path(top_.index().element_path(storage), name));
}

ClassId KVPMStorageFile::class_id(ElementId element) {
  if (StorageIndex::is_implied(element)) return {};
  const StorageIndex& index = top_.index();
  const std::optional<std::uint32_t> number =
      element == kRootElement ? index.find(kRootPath) : StorageIndex::entry_number(element);
  if (!number) return {};
  const IndexEntry entry = index.entry(*number);
  return entry.is_storage() ? entry.class_id() : ClassId();
}

ElementNode KVPMStorageFile::node(ElementId element) {
  const StorageIndex& index = top_.index();
  ElementNode node{ElementType::storage, index.element_name(element), IndexArea::header, 0, 0};
  if (element == kRootElement) return node;
  const std::uint32_t number = StorageIndex::entry_number(element);
  node.area = index.area(number);
  const IndexEntry entry = index.entry(number);
  if (StorageIndex::is_implied(element) || entry.is_storage()) return node;
  node.type = ElementType::stream;
  node.start_offset = entry.offset();
  node.size = entry.size();
  return node;
}

std::string KVPMStorageFile::path(ElementId element) {
  return std::string(path_below_root(top_.index().element_path(element)));
}

std::vector<ElementId> KVPMStorageFile::children(ElementId storage) {
  top_.load_footer();
  return tree().children(storage);
}

void KVPMStorageFile::load_readable() {
  try {
    top_.load_footer();
  } catch (const support::ErrorEscape&) {
    // Remembered by the top storage, and raised for whoever asks for what the footer lists.
  }
}

std::vector<ElementId> KVPMStorageFile::readable_children(ElementId storage) {
  load_readable();
  return tree().children(storage);
}

std::unique_ptr<support::ByteSource> KVPMStorageFile::open_stream(ElementId stream) {
  const ElementNode shown = node(stream);
  if (shown.type != ElementType::stream) {
    throw make_error(kInternalFailure, "the element to be read is no stream");
  }
  return std::make_unique<ChannelSource>(top_.channel(), shown.start_offset, shown.size);
}

std::vector<ElementId> KVPMStorageFile::streams_named(std::string_view name) {
  top_.load_footer();
  const std::vector<std::uint32_t> found = top_.index().streams_named(name);
  // The order only matters when there is a choice; one stream is no reason to build the tree.
  if (found.size() > 1) return StorageFile::streams_named(name);
  if (found.empty()) return {};
  return {StorageIndex::listed(found.front())};
}

void KVPMStorageFile::lay_out(LayoutSink& sink) {
  load_readable();
  lay_out_tables(top_.facts(), top_.channel().size(), sink);
  lay_out_streams(top_.index(), top_.channel().size(), sink);
}

ContainerFacts KVPMStorageFile::facts() {
  load_readable();
  return top_.facts();
}

LayoutFaults KVPMStorageFile::layout_faults() {
  load_readable();
  return find_layout_faults(top_.index(), top_.facts(), top_.channel().size());
}

}  // namespace VRX::System::CFI
