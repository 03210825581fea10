#include "inspect/records/named_streams.h"

#include <string>

#include "cfi/expanded_source.h"
#include "cfi/storage_file.h"

namespace inspect {

using namespace VRX::System::CFI;

std::unique_ptr<support::ByteSource> open_named_stream(InspectFile& file, std::string_view name) {
  if (file.container == nullptr) return nullptr;
  const auto stream = find_stream_by_name(*file.container, name);
  if (!stream) return nullptr;
  return expand_when_framed(file.container->open_stream(*stream), std::string(name));
}

std::unique_ptr<support::ByteSource> open_child_stream(InspectFile& file, std::string_view storage,
                                                       std::string_view name) {
  if (file.container == nullptr) return nullptr;
  const auto parent = file.container->find_child(kRootElement, storage);
  const auto stream = parent ? file.container->find_child(*parent, name) : std::nullopt;
  if (!stream || file.container->record(*stream).type != ElementType::stream) return nullptr;
  return expand_when_framed(file.container->open_stream(*stream), std::string(name));
}

}  // namespace inspect
