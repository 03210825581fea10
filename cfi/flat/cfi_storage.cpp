#include "cfi/flat/cfi_storage.h"

#include "cfi/cfi_error_codes.h"
#include "cfi/flat/handle_access.h"

using namespace VRX::System::CFI;

namespace {

void set_position(const Stream& stream, std::uint64_t position) {
  const bool is_possible = position <= kFarthestPosition;
  if (is_possible && position > stream.source().size()) throw make_error(kEndOfStream);
  CFI_set_position(stream.source(), position);
}

Stream& open_for_read(Storage& storage, std::string_view name) {
  const ElementId element = existing_child(storage, name, ElementType::stream);
  return OpenElements::instance().add_stream(storage, element, name, open_source(storage, element));
}

Stream& open_for_write(Storage& storage, std::string_view name, AccessMode mode) {
  WritableFile& file = writable_file(storage);
  if (mode == AccessMode::create) {
    const ElementId element = file.create_stream(storage.element(), name);
    return OpenElements::instance().add_stream(storage, element, name, file.container(element));
  }
  const ElementId element = existing_child(storage, name, ElementType::stream, mode);
  return OpenElements::instance().add_stream(storage, element, name, file.open_for_write(element));
}

}  // namespace

CFI_storage_t CFI_open_storage_file(const std::string& file_name, const char* options, const char* hints,
                                    int sector_size) {
  Storage& root = OpenElements::instance().open_root(file_name, access_mode(options), hints, sector_size);
  show_call("CFI_open_storage_file", root, file_name);
  return &root;
}

CFI_storage_t CFI_open_storage(CFI_storage_t parent, std::string_view name, const char* options) {
  show_call("CFI_open_storage", *parent, name);
  const AccessMode mode = access_mode(options);
  check_child_name(*parent, name);
  if (mode == AccessMode::write) writable_file(*parent);
  const ElementId element = mode == AccessMode::create
                                ? writable_file(*parent).create_storage(parent->element(), name)
                                : existing_child(*parent, name, ElementType::storage, mode);
  return &OpenElements::instance().add_storage(*parent, element, name);
}

CFI_stream_t CFI_open_stream(CFI_storage_t storage, std::string_view name, const char* options) {
  show_call("CFI_open_stream", *storage, name);
  const AccessMode mode = access_mode(options);
  check_child_name(*storage, name);
  return mode == AccessMode::read ? &open_for_read(*storage, name) : &open_for_write(*storage, name, mode);
}

bool CFI_ask_if_storage_child_exists(CFI_storage_t storage, std::string_view child) {
  show_call("CFI_ask_if_storage_child_exists", *storage, child);
  check_child_name(*storage, child);
  return find_child(*storage, child).has_value();
}

std::vector<ElementRecord> CFI_ask_storage_contents(CFI_storage_t storage) {
  show_call("CFI_ask_storage_contents", *storage);
  StorageFile& file = storage->file();
  return converting_errors("enquiring sub storages", *storage, [&] {
    std::vector<ElementRecord> records;
    for (const ElementId child : file.children(storage->element())) records.push_back(file.record(child));
    return records;
  });
}

std::vector<std::string> CFI_ask_storage_names(CFI_storage_t storage) {
  std::vector<std::string> names;
  for (ElementRecord& record : CFI_ask_storage_contents(storage)) {
    if (record.type == ElementType::storage) names.push_back(std::move(record.name));
  }
  return names;
}

ElementRecord CFI_ask_stream_stats(CFI_stream_t stream) { return stream_stats(*stream); }

std::size_t CFI__read_from_stream(CFI_stream_t stream, std::size_t count, void* buffer) {
  return read_source(*stream, stream->source(), buffer, count);
}

std::uint64_t CFI_ask_stream_current_pos(CFI_stream_t stream) {
  show_call("CFI_ask_stream_current_pos", *stream);
  return stream->source().position();
}

void CFI__set_stream_absolute_pos(CFI_stream_t stream, std::uint64_t position) {
  show_call("CFI__set_stream_absolute_pos", *stream, position);
  set_position(*stream, position);
}

void CFI_set_stream_relative_pos(CFI_stream_t stream, std::int64_t distance) {
  show_call("CFI_set_stream_relative_pos", *stream, distance);
  // Positions stay below 2^63, so that the sum cannot wrap past a negative one.
  set_position(*stream, stream->source().position() + static_cast<std::uint64_t>(distance));
}

int CFI_close_stream(CFI_stream_t stream) {
  if (stream == nullptr) return kInternalFailure;
  show_call("CFI_close_stream", *stream);
  try {
    OpenElements::instance().close(*stream);
    return 0;
  } catch (const support::ErrorEscape& escape) {
    return escape.code();
  }
}

int CFI_close_storage(CFI_storage_t storage) {
  if (storage == nullptr) return kInternalFailure;
  show_call("CFI_close_storage", *storage);
  try {
    return OpenElements::instance().close(*storage) ? 0 : kInternalFailure;
  } catch (const support::ErrorEscape& escape) {
    return escape.code();
  }
}

std::size_t CFI_ask_open_element_count() { return OpenElements::instance().count(); }

StorageFile& CFI_storage_file(CFI_storage_t storage) { return storage->file(); }

support::ByteSource& CFI_stream_source(CFI_stream_t stream) { return stream->source(); }
