#include "cfi/writing/kvpm_writable_file.h"

#include "cfi/element_path.h"

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

ElementRecord KVPMWritableFile::record(ElementId element) {
  const ListedElement& listed = writer_.element(number_of(element));
  return {listed.type, std::string(last_component(listed.path)), listed.size_bytes, listed.class_id};
}

std::vector<ElementId> KVPMWritableFile::children(ElementId storage) {
  const std::vector<TopStorageWriter::Number> numbers = writer_.children(number_of(storage));
  return {numbers.begin(), numbers.end()};
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

}  // namespace VRX::System::CFI
