#include "cfi/cfi_storage.h"

#include <cerrno>
#include <cinttypes>
#include <limits>

#include "cfi/cfi_error_codes.h"
#include "cfi/diagnostics_channels.h"
#include "cfi/element_path.h"
#include "cfi/open_elements.h"
#include "support/assertion.h"
#include "support/printable.h"
#include "support/text_format.h"

using namespace VRX::System::CFI;

namespace {

constexpr std::uint64_t kLastPosition = std::numeric_limits<std::int64_t>::max();
constexpr std::size_t kLongestLimitedName = 31;

// Shows a call on the "cfi_storage" channel; paths are only put together when it is on.
template <typename Element>
void show_call(const char* function, const Element& element, std::string_view detail = {}) {
  if (!cfi_storage_channel().enabled()) return;
  cfi_storage_channel().print("%s: %s%s%s\n", function, support::printable(element.path()).c_str(),
                              detail.empty() ? "" : " ", support::printable(detail).c_str());
}

// What goes wrong in a compound file is reported by what was being done, as the maker's format has its own
// texts.
template <typename Element, typename Call>
auto converting_errors(const StorageFile& file, const char* doing, const Element& element, Call call) {
  try {
    return call();
  } catch (const support::ErrorEscape& escape) {
    if (file.kind() != FileKind::microsoft) throw;
    throw support::ErrorEscape(escape.module(), escape.code(),
                               support::format_text("Structured storage failed %s %s: %s", doing,
                                                    element.path().c_str(), escape.what()));
  }
}

void check_child_name(const Storage& storage, std::string_view name) {
  check_name(name);
  if (storage.root().limits_names) VRII_ASSERT(name.size() <= kLongestLimitedName);
}

std::optional<ElementId> find_child(const Storage& storage, std::string_view name) {
  StorageFile& file = *storage.root().file;
  return converting_errors(file, "looking up an element of", storage,
                           [&] { return file.find_child(storage.element(), name); });
}

// The element to be opened, which must be of that type.
ElementId existing_child(const Storage& storage, std::string_view name, ElementType type) {
  const std::optional<ElementId> found = find_child(storage, name);
  const std::string path = joined_path(storage.path(), name);
  if (!found) throw make_error(kElementNotFound, path.c_str());
  if (storage.root().file->record(*found).type != type) {
    const std::string text = path + (type == ElementType::stream ? " is no stream" : " is no storage");
    throw make_error(kInternalFailure, text.c_str());
  }
  return *found;
}

void require_reading(const char* options) {
  if (access_mode(options) != AccessMode::read) throw make_error(kUnsupportedOperation, "writing");
}

void set_position(const Stream& stream, std::uint64_t position) {
  if (position > kLastPosition) {
    throw make_error(kSeekToNegativeLocation, static_cast<unsigned long long>(position));
  }
  if (position > stream.source().size()) throw make_error(kEndOfStream);
  stream.source().set_position(position);
}

}  // namespace

CFI_storage_t CFI_open_storage_file(const std::string& file_name, const char* options, const char* hints,
                                    int sector_size) {
  require_reading(options);
  Storage& root = OpenElements::instance().open_root(file_name, hints, sector_size);
  show_call("CFI_open_storage_file", root, file_name);
  return &root;
}

CFI_storage_t CFI_open_storage(CFI_storage_t parent, std::string_view name, const char* options) {
  show_call("CFI_open_storage", *parent, name);
  require_reading(options);
  check_child_name(*parent, name);
  const ElementId element = existing_child(*parent, name, ElementType::storage);
  return &OpenElements::instance().open_storage(*parent, element, name);
}

CFI_stream_t CFI_open_stream(CFI_storage_t storage, std::string_view name, const char* options) {
  show_call("CFI_open_stream", *storage, name);
  require_reading(options);
  check_child_name(*storage, name);
  const ElementId element = existing_child(*storage, name, ElementType::stream);
  StorageFile& file = *storage->root().file;
  auto source =
      converting_errors(file, "opening a stream of", *storage, [&] { return file.open_stream(element); });
  return &OpenElements::instance().open_stream(*storage, element, name, std::move(source));
}

bool CFI_ask_if_storage_child_exists(CFI_storage_t storage, std::string_view child) {
  show_call("CFI_ask_if_storage_child_exists", *storage, child);
  check_child_name(*storage, child);
  return find_child(*storage, child).has_value();
}

std::vector<ElementRecord> CFI_ask_storage_contents(CFI_storage_t storage) {
  show_call("CFI_ask_storage_contents", *storage);
  StorageFile& file = *storage->root().file;
  return converting_errors(file, "enquiring sub storages", *storage, [&] {
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

ElementRecord CFI_ask_stream_stats(CFI_stream_t stream) {
  show_call("CFI_ask_stream_stats", *stream);
  StorageFile& file = *stream->parent().root().file;
  return converting_errors(file, "getting stream stats", *stream,
                           [&] { return file.record(stream->element()); });
}

std::size_t CFI__read_from_stream(CFI_stream_t stream, std::size_t count, void* buffer) {
  return converting_errors(*stream->parent().root().file, "reading from stream", *stream,
                           [&] { return stream->source().read(buffer, count); });
}

std::uint64_t CFI_ask_stream_current_pos(CFI_stream_t stream) { return stream->source().position(); }

void CFI__set_stream_absolute_pos(CFI_stream_t stream, std::uint64_t position) {
  set_position(*stream, position);
}

void CFI_set_stream_relative_pos(CFI_stream_t stream, std::int64_t distance) {
  // Positions stay below 2^63, so that the sum cannot wrap past a negative one.
  set_position(*stream, stream->source().position() + static_cast<std::uint64_t>(distance));
}

std::uint64_t CFI_get_position(const support::ByteSource& source) { return source.position(); }

void CFI_set_position(support::ByteSource& source, std::uint64_t position) {
  if (position > kLastPosition) {
    errno = EINVAL;
    throw make_error(kSeekToNegativeLocation, static_cast<unsigned long long>(position));
  }
  source.set_position(position);
}

int CFI_close_stream(CFI_stream_t stream) {
  if (stream == nullptr) return kInternalFailure;
  show_call("CFI_close_stream", *stream);
  OpenElements::instance().close(*stream);
  return 0;
}

int CFI_close_storage(CFI_storage_t storage) {
  if (storage == nullptr) return kInternalFailure;
  show_call("CFI_close_storage", *storage);
  return OpenElements::instance().close(*storage) ? 0 : kInternalFailure;
}

StorageFile& CFI_storage_file(CFI_storage_t storage) { return *storage->root().file; }

ElementId CFI_element(CFI_storage_t storage) { return storage->element(); }

support::ByteSource& CFI_stream_source(CFI_stream_t stream) { return stream->source(); }
