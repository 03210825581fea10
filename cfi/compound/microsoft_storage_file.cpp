#include "cfi/compound/microsoft_storage_file.h"

#include <utility>

#include "cfi/cfi_error_codes.h"
#include "cfi/compound/element_name.h"
#include "cfi/compound/sector_chain_source.h"
#include "cfi/compound/truncation_search.h"
#include "cfi/damage_barrier.h"

namespace VRX::System::CFI {

MicrosoftStorageFile::MicrosoftStorageFile(FileChannel& channel) : table_(channel), directory_(table_) {}

const CompoundElement& MicrosoftStorageFile::element(ElementId id) const {
  if (id >= directory_.size()) throw make_error(kInternalFailure, "no such element in the directory");
  return directory_.element(static_cast<std::uint32_t>(id));
}

std::optional<ElementId> MicrosoftStorageFile::find_child(ElementId storage, std::string_view name) {
  if (element(storage).child_count == 0) return std::nullopt;
  const std::optional<std::u16string> wanted = utf16_from_utf8(name);
  if (!wanted) return std::nullopt;
  return directory_.find_child(static_cast<std::uint32_t>(storage), *wanted);
}

ElementNode MicrosoftStorageFile::node(ElementId id) {
  const CompoundElement& found = element(id);
  node_name_ = utf8_from_utf16(directory_.name(found));
  return {.type = found.type, .name = node_name_, .size = found.type == ElementType::stream ? found.size : 0};
}

std::string MicrosoftStorageFile::path(ElementId id) {
  if (parents_.empty()) {
    parents_.resize(directory_.size());
    for (std::uint32_t parent = 0; parent < directory_.size(); ++parent) {
      const CompoundElement& of = directory_.element(parent);
      std::fill_n(parents_.begin() + of.first_child, of.child_count, parent);
    }
  }
  std::vector<std::string> names;
  for (ElementId at = id; at != kRootElement; at = parents_.at(at))
    names.push_back(utf8_from_utf16(directory_.name(element(at))));
  std::string path;
  for (; !names.empty(); names.pop_back()) {
    if (!path.empty()) path += '/';
    path += names.back();
  }
  return path;
}

std::vector<ElementId> MicrosoftStorageFile::children(ElementId storage) {
  const CompoundElement& parent = element(storage);
  std::vector<ElementId> found(parent.child_count);
  for (std::uint32_t i = 0; i < parent.child_count; ++i) found[i] = ElementId{parent.first_child} + i;
  return found;
}

bool MicrosoftStorageFile::in_mini_stream(const CompoundElement& stream) const {
  return stream.size > 0 && stream.size < compound::kMiniStreamCutoff;
}

MiniStream& MicrosoftStorageFile::mini_stream() {
  const CompoundElement& root = directory_.element(kRootElement);
  if (!mini_stream_) mini_stream_.emplace(table_, root.first_sector, root.size);
  return *mini_stream_;
}

std::unique_ptr<support::ByteSource> MicrosoftStorageFile::open_stream(ElementId id) {
  const CompoundElement& stream = element(id);
  if (stream.type != ElementType::stream)
    throw make_error(kInternalFailure, "the element to read is no stream");
  if (in_mini_stream(stream)) {
    return std::make_unique<MiniStreamSource>(mini_stream(), stream.first_sector, stream.size);
  }
  return std::make_unique<SectorChainSource>(table_, stream.first_sector, stream.size);
}

bool MicrosoftStorageFile::any_stream_beyond_file() {
  TruncationSearch search(table_);
  for (std::uint32_t i = 0; i < directory_.size(); ++i) {
    const CompoundElement& stream = directory_.element(i);
    if (stream.type != ElementType::stream) continue;
    if (stream.size > table_.header().file_size) return true;
    if (in_mini_stream(stream) ? mini_stream().reaches_beyond_file(stream.first_sector, stream.size)
                               : search.reaches_beyond_file(stream.first_sector, stream.size)) {
      return true;
    }
  }
  return false;
}

bool MicrosoftStorageFile::is_truncated() {
  if (!truncated_) {
    truncated_ = directory_.cut() || table_.header().counts_beyond_file || any_stream_beyond_file();
  }
  return *truncated_;
}

void MicrosoftStorageFile::lay_out(LayoutSink& sink) {
  CompoundLayout layout(table_, sink);
  layout.add_tables();
  gets_through([&] { layout.add_streams(directory_, mini_stream()); });
}

std::vector<ElementId> MicrosoftStorageFile::streams_named(std::string_view name) {
  std::vector<ElementId> found;
  const std::optional<std::u16string> wanted = utf16_from_utf8(name);
  if (!wanted) return found;
  std::vector<std::uint32_t> to_visit = {kRootElement};
  while (!to_visit.empty()) {
    const std::uint32_t number = to_visit.back();
    to_visit.pop_back();
    const CompoundElement& visited = directory_.element(number);
    if (visited.type == ElementType::stream &&
        compare_element_names(directory_.name(visited), *wanted) == 0) {
      found.push_back(number);
    }
    for (std::uint32_t i = visited.child_count; i > 0; --i) to_visit.push_back(visited.first_child + i - 1);
  }
  return found;
}

}  // namespace VRX::System::CFI
