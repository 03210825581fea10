#include "cfi/element_calls.h"

#include <string>

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"

namespace VRX::System::CFI {

std::optional<ElementId> find_child(const StorageElement& storage, std::string_view name) {
  return converting_errors("looking up an element of", storage,
                           [&] { return storage.file().find_child(storage.element(), name); });
}

ElementId existing_child(const StorageElement& storage, std::string_view name, ElementType type) {
  const std::optional<ElementId> found = find_child(storage, name);
  if (found && storage.file().record(*found).type == type) return *found;
  std::string path = joined_path(storage.path(), name);
  if (!found) throw make_error(kElementNotFound, path.c_str());
  path += type == ElementType::stream ? " is no stream" : " is no storage";
  throw make_error(kInternalFailure, path.c_str());
}

std::unique_ptr<support::ByteSource> open_source(const StorageElement& storage, ElementId stream) {
  return converting_errors("opening a stream of", storage,
                           [&] { return storage.file().open_stream(stream); });
}

ElementRecord stream_stats(const StorageElement& stream) {
  show_call("CFI_ask_stream_stats", stream);
  return converting_errors("getting stream stats", stream,
                           [&] { return stream.file().record(stream.element()); });
}

std::size_t read_source(const StorageElement& stream, support::ByteSource& source, void* buffer,
                        std::size_t count) {
  show_call("CFI__read_from_stream", stream, count);
  return converting_errors("reading from stream", stream, [&] { return source.read(buffer, count); });
}

}  // namespace VRX::System::CFI
