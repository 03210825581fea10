#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "cfi/flat/cfi_storage.h"
#include "cfi/flat/handle_access.h"
#include "support/byte_copy.h"
#include "support/printable.h"

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

// What the format has no room for was refused before anything was written.
void note_failure(const support::ErrorEscape& escape, WritableFile& file) {
  if (escape.code() != kUnsupportedOperation) file.mark_failed();
}

// The source may be damaged; only what is there can be copied, and less than all is no copy.
void copy_stream(support::ByteSource& source, WritableFile& file, ElementId stream) {
  Container& container = file.container(stream);
  const std::uint64_t size = source.size();
  const std::uint64_t copied = support::copy_source(source, [&](std::span<const std::byte> bytes) {
    try {
      if (container.write(bytes.data(), bytes.size()) == bytes.size()) return;
    } catch (const support::ErrorEscape& escape) {
      note_failure(escape, file);
      throw;
    }
    file.mark_failed();
    throw system_call_failed(errno);
  });
  file.release(stream);
  if (copied == size) return;
  throw support::ErrorEscape(
      "cfi", kEndOfStream,
      support::format_text("%s ends after %llu of %llu bytes", support::printable(file.path(stream)).c_str(),
                           static_cast<unsigned long long>(copied), static_cast<unsigned long long>(size)));
}

void copy_items(StorageFile& source, std::vector<CopyItem>& items, WritableFile& file,
                ElementId destination) {
  for (CopyItem& item : items) {
    const ElementId parent = &item == &items.front() ? destination : items[item.parent].copy;
    if (item.record.type == ElementType::storage) {
      item.copy = file.create_storage(parent, item.record.name);
      file.set_class(item.copy, item.record.class_id);
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
  WritableFile& file = *stream->parent().root().writable;
  std::size_t written = 0;
  try {
    written = stream->container()->write(buffer, count);
  } catch (const support::ErrorEscape& escape) {
    note_failure(escape, file);
    throw;
  }
  if (written == count) return written;
  file.mark_failed();
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
  writable_file(*storage).set_class(storage->element(), class_id);
}

void CFI_copy_storage_element(CFI_storage_t source, std::string_view name, CFI_storage_t destination,
                              std::string_view new_name) {
  show_call("CFI_copy_storage_element", *source, name);
  check_child_name(*source, name);
  check_child_name(*destination, new_name);
  WritableFile& file = writable_file(*destination);
  const std::optional<ElementId> element = find_child(*source, name);
  if (!element) throw make_error(kElementNotFound, joined_path(source->path(), name).c_str());
  StorageFile& from = source->file();
  std::vector<CopyItem> items = items_to_copy(from, *element, new_name);
  const std::size_t before = file.element_count();
  try {
    copy_items(from, items, file, destination->element());
  } catch (const support::ErrorEscape&) {
    // Half a copy must not be committed.
    file.drop_from(before);
    throw;
  }
}
