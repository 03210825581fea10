#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "cfi/flat/cfi_storage.h"
#include "cfi/flat/handle_access.h"
#include "support/byte_copy.h"

using namespace VRX::System::CFI;

namespace {

// An element to be copied, and the copied storage that it goes into.
struct CopyItem {
  ElementId source = kRootElement;
  std::size_t parent = 0;
  ElementRecord record;
  ElementId copy = kRootElement;
};

// All that is to be copied, storages before what is in them; listed before anything is written, since the
// copy may lie inside the original.
std::vector<CopyItem> items_to_copy(StorageFile& file, ElementId element, std::string_view new_name) {
  std::vector<CopyItem> items = {{element, 0, file.record(element)}};
  items.front().record.name = new_name;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].record.type == ElementType::stream) continue;
    for (const ElementId child : file.children(items[i].source))
      items.push_back({child, i, file.record(child)});
  }
  return items;
}

void copy_stream(support::ByteSource& source, KVPMWritableFile& file, ElementId stream) {
  Container& container = file.writer().container(writer_number(stream));
  support::copy_source(source, [&](std::span<const std::byte> bytes) {
    if (container.write(bytes.data(), bytes.size()) != bytes.size()) {
      throw system_call_failed(errno);
    }
  });
  file.writer().release(writer_number(stream));
}

void copy_items(StorageFile& source, std::vector<CopyItem>& items, KVPMWritableFile& file,
                ElementId destination) {
  for (CopyItem& item : items) {
    const ElementId parent = &item == &items.front() ? destination : items[item.parent].copy;
    if (item.record.type == ElementType::storage) {
      item.copy = file.create_storage(parent, item.record.name);
      file.writer().set_class(writer_number(item.copy), item.record.class_id);
    } else {
      const auto bytes = source.open_stream(item.source);
      item.copy = file.create_stream(parent, item.record.name);
      copy_stream(*bytes, file, item.copy);
    }
  }
}

}  // namespace

std::size_t CFI__write_to_stream(CFI_stream_t stream, std::size_t count, const void* buffer) {
  if (stream->container() == nullptr)
    throw make_error(kUnsupportedOperation, "writing to a stream that is read");
  TopStorageWriter& writer = stream->parent().root().writable->writer();
  std::size_t written = 0;
  try {
    written = stream->container()->write(buffer, count);
  } catch (const support::ErrorEscape&) {
    writer.mark_failed();
    throw;
  }
  if (written == count) return written;
  writer.mark_failed();
  throw support::ErrorEscape(
      "cfi", kSystemCallFailed,
      support::format_text("IStream_Write returned count %u not %u", static_cast<unsigned>(written),
                           static_cast<unsigned>(count)));
}

ClassId CFI_get_storage_class(CFI_storage_t storage) {
  show_call("CFI_get_storage_class", *storage);
  return storage->file().record(storage->element()).class_id;
}

void CFI_set_storage_class(CFI_storage_t storage, const ClassId& class_id) {
  show_call("CFI_set_storage_class", *storage);
  writable_file(*storage).writer().set_class(writer_number(storage->element()), class_id);
}

void CFI_copy_storage_element(CFI_storage_t source, std::string_view name, CFI_storage_t destination,
                              std::string_view new_name) {
  show_call("CFI_copy_storage_element", *source, name);
  check_child_name(*source, name);
  check_child_name(*destination, new_name);
  KVPMWritableFile& file = writable_file(*destination);
  const std::optional<ElementId> element = find_child(*source, name);
  if (!element) throw make_error(kElementNotFound, joined_path(source->path(), name).c_str());
  StorageFile& from = source->file();
  std::vector<CopyItem> items = items_to_copy(from, *element, new_name);
  try {
    copy_items(from, items, file, destination->element());
  } catch (const support::ErrorEscape& escape) {
    // Half a copy must not be committed; a name that is taken has left nothing.
    if (escape.code() != kElementExists) file.writer().mark_failed();
    throw;
  }
}
