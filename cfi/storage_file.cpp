#include "cfi/storage_file.h"

#include "cfi/compound/compound_layout.h"
#include "cfi/compound/microsoft_storage_file.h"
#include "cfi/damage_barrier.h"
#include "cfi/kvpm/kvpm_layout.h"
#include "cfi/kvpm/kvpm_storage_file.h"
#include "cfi/stream_names.h"
#include "support/byte_order.h"

namespace VRX::System::CFI {

FileKind recognise(FileChannel& channel) {
  char bytes[kSignatureSize];
  if (channel.read_at(0, bytes, sizeof bytes) != sizeof bytes) return FileKind::flat;
  const std::string_view signature(bytes, sizeof bytes);
  if (signature == kKvpmSignature) return FileKind::kvpm;
  if (signature == kMicrosoftSignature) return FileKind::microsoft;
  return FileKind::flat;
}

std::unique_ptr<StorageFile> open_storage_file(FileChannel& channel) {
  switch (recognise(channel)) {
    case FileKind::kvpm:
      return std::make_unique<KVPMStorageFile>(channel);
    case FileKind::microsoft:
      return std::make_unique<MicrosoftStorageFile>(channel);
    case FileKind::flat:
      break;
  }
  return nullptr;
}

ContainerFacts lay_out_damaged(FileChannel& channel, LayoutSink& sink) {
  const FileKind kind = recognise(channel);
  if (kind == FileKind::kvpm) {
    const KvpmFacts facts = survey_kvpm(channel);
    lay_out_tables(facts, channel.size(), sink);
    return facts;
  }
  if (kind == FileKind::flat) return {};
  ContainerFacts facts;
  const bool readable = gets_through([&] {
    SectorAllocationTable table(channel);
    CompoundLayout(table, sink).add_tables();
    facts = compound_facts(table);
  });
  if (!readable) sink.structure({0, support::kSignatureSize, "container.header", Protection::decoded});
  return facts;
}

std::optional<std::uint16_t> StorageFile::part_header_unit(std::size_t number) const {
  const std::span<const std::byte> header = part_header();
  if (number >= header.size() / 2) return std::nullopt;
  const unsigned char bytes[] = {std::to_integer<unsigned char>(header[2 * number]),
                                 std::to_integer<unsigned char>(header[2 * number + 1])};
  return support::load_little<std::uint16_t>(bytes);
}

ElementRecord StorageFile::record(ElementId element) {
  const ElementNode shown = node(element);
  return {shown.type, std::string(shown.name), shown.size, class_id(element)};
}

std::vector<ElementId> StorageFile::streams_named(std::string_view name) {
  std::vector<ElementId> found;
  std::vector<ElementId> to_visit = {kRootElement};  // the next element is the last
  while (!to_visit.empty()) {
    const ElementId element = to_visit.back();
    to_visit.pop_back();
    const ElementNode shown = node(element);
    if (shown.type == ElementType::stream) {
      if (shown.name == name) found.push_back(element);
      continue;
    }
    const std::vector<ElementId> inside = children(element);
    to_visit.insert(to_visit.end(), inside.rbegin(), inside.rend());
  }
  return found;
}

namespace {

std::optional<ElementId> find_stream(StorageFile& file, std::optional<ElementId> storage,
                                     std::string_view name) {
  if (!storage || file.record(*storage).type != ElementType::storage) return std::nullopt;
  const std::optional<ElementId> found = file.find_child(*storage, name);
  if (!found || file.record(*found).type != ElementType::stream) return std::nullopt;
  return found;
}

}  // namespace

std::optional<ElementId> find_stream_by_name(StorageFile& file, std::string_view name) {
  std::optional<support::ErrorEscape> failure;
  for (const std::string_view storage : {"", stream_names::kPartStorage, stream_names::kFastLoadStorage}) {
    try {
      const auto place = storage.empty() ? kRootElement : file.find_child(kRootElement, storage);
      if (const auto found = find_stream(file, place, name)) return found;
    } catch (const support::ErrorEscape& escape) {
      // A damaged footer cannot tell what it lists; the header may still list the stream in the next place.
      failure = escape;
    }
  }
  if (failure) throw *failure;
  const std::vector<ElementId> found = file.streams_named(name);
  if (found.empty()) return std::nullopt;
  return found.front();
}

}  // namespace VRX::System::CFI
