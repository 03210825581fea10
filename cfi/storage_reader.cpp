#include "cfi/storage_reader.h"

#include "cfi/element_calls.h"
#include "cfi/element_path.h"

namespace VRX::System::CFI {

namespace {

ElementId look_up(const char* function, const StorageElement& storage, std::string_view name,
                  ElementType type) {
  show_call(function, storage, name);
  check_name(name);
  return existing_child(storage, name, type);
}

}  // namespace

void announce_opening(std::string_view file_name, std::string_view text) {
  cfi_storage_channel().print("CFI_announce_opening: %s %s\n", support::printable(file_name).c_str(),
                              support::printable(text).c_str());
}

StorageReader::StorageReader(StorageFile& file, std::string_view file_name) : StorageElement(file) {
  show_call("CFI_open_storage_file", *this, file_name);
}

StorageReader::StorageReader(const StorageElement& parent, std::string_view name)
    : StorageElement(parent, look_up("CFI_open_storage", parent, name, ElementType::storage), name) {}

StorageReader::~StorageReader() { show_call("CFI_close_storage", *this); }

StreamReader::StreamReader(const StorageElement& storage, std::string_view name)
    : StorageElement(storage, look_up("CFI_open_stream", storage, name, ElementType::stream), name),
      source_(open_source(storage, element())) {}

StreamReader::~StreamReader() { show_call("CFI_close_stream", *this); }

ElementRecord StreamReader::stats() const { return stream_stats(*this); }

std::size_t StreamReader::read(void* buffer, std::size_t count) {
  return read_source(*this, *source_, buffer, count);
}

}  // namespace VRX::System::CFI
