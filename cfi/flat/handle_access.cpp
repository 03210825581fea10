#include "cfi/flat/handle_access.h"

#include <algorithm>
#include <cstddef>

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "support/assertion.h"
#include "support/printable.h"

namespace VRX::System::CFI {

namespace {

constexpr std::ptrdiff_t kLongestLimitedName = 31;

/// Of UTF-8: the bytes that do not continue a character. For the assertion.
[[maybe_unused]] std::ptrdiff_t character_count(std::string_view text) {
  return std::ranges::count_if(text,
                               [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; });
}

}  // namespace

void check_child_name(const Storage& storage, std::string_view name) {
  check_name(name);
  if (storage.root().limits_names) VRII_ASSERT(character_count(name) <= kLongestLimitedName);
}

ElementId existing_child(const Storage& storage, std::string_view name, ElementType type, AccessMode mode) {
  if (mode == AccessMode::read || find_child(storage, name)) return existing_child(storage, name, type);
  throw support::ErrorEscape(
      "cfi", kElementNotFound,
      support::format_text("Storage element %s was not found when opening for write or read-write",
                           support::printable(joined_path(storage.path(), name)).c_str()));
}

WritableFile& writable_file(const Storage& storage) {
  if (storage.root().writable != nullptr) return *storage.root().writable;
  throw make_error(kUnsupportedOperation, "writing to a file that is open for reading");
}

}  // namespace VRX::System::CFI
