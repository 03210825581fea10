#include "cfi/flat/cfi_calls.h"

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "support/assertion.h"

namespace VRX::System::CFI {

namespace {

constexpr std::size_t kLongestLimitedName = 31;

}  // namespace

void check_child_name(const Storage& storage, std::string_view name) {
  check_name(name);
  if (storage.root().limits_names) VRII_ASSERT(name.size() <= kLongestLimitedName);
}

std::optional<ElementId> find_child(const Storage& storage, std::string_view name) {
  StorageFile& file = *storage.root().file;
  return converting_errors(file, "looking up an element of", storage,
                           [&] { return file.find_child(storage.element(), name); });
}

support::ErrorEscape element_not_found(const Storage& storage, std::string_view name, AccessMode mode) {
  const std::string path = joined_path(storage.path(), name);
  if (mode == AccessMode::read) return make_error(kElementNotFound, path);
  return {"cfi", kElementNotFound,
          support::format_text("Storage element %s was not found when opening for write or read-write",
                               support::printable(path).c_str())};
}

ElementId existing_child(const Storage& storage, std::string_view name, ElementType type, AccessMode mode) {
  const std::optional<ElementId> found = find_child(storage, name);
  if (!found) throw element_not_found(storage, name, mode);
  if (storage.root().file->record(*found).type == type) return *found;
  const std::string text =
      joined_path(storage.path(), name) + (type == ElementType::stream ? " is no stream" : " is no storage");
  throw make_error(kInternalFailure, text);
}

KVPMWritableFile& writable_file(const Storage& storage) {
  if (storage.root().writable != nullptr) return *storage.root().writable;
  const bool is_compound = storage.root().file->kind() == FileKind::microsoft;
  throw make_error(kUnsupportedOperation, is_compound ? "writing to a Microsoft storage file"
                                                      : "writing to a file that is open for reading");
}

}  // namespace VRX::System::CFI
