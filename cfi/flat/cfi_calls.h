#pragma once

#include <optional>
#include <string_view>

#include "cfi/diagnostics_channels.h"
#include "cfi/flat/open_elements.h"
#include "support/error_escape.h"
#include "support/printable.h"
#include "support/text_format.h"

/// What the functions of the flat interface share.
namespace VRX::System::CFI {

/// Shows a call on the "cfi_storage" channel; paths are only put together when it is on.
template <typename Element>
void show_call(const char* function, const Element& element, std::string_view detail = {}) {
  if (!cfi_storage_channel().enabled()) return;
  cfi_storage_channel().print("%s: %s%s%s\n", function, support::printable(element.path()).c_str(),
                              detail.empty() ? "" : " ", support::printable(detail).c_str());
}

/// What goes wrong in a compound file is reported by what was being done, as the maker's format has its own
/// texts.
template <typename Element, typename Call>
auto converting_errors(const StorageFile& file, const char* doing, const Element& element, Call call) {
  try {
    return call();
  } catch (const support::ErrorEscape& escape) {
    if (file.kind() != FileKind::microsoft) throw;
    throw support::ErrorEscape(
        escape.module(), escape.code(),
        support::format_text("Structured storage failed %s %s: %s", doing,
                             support::printable(element.path()).c_str(), escape.what()));
  }
}

/// The element of that name, which must exist and be of that type; raises 1021251 and 1021253.
ElementId existing_child(const Storage& storage, std::string_view name, ElementType type, AccessMode mode);

/// What is raised when there is none.
support::ErrorEscape element_not_found(const Storage& storage, std::string_view name, AccessMode mode);

std::optional<ElementId> find_child(const Storage& storage, std::string_view name);

/// Raises 1021253 for a name that is empty or holds a "/".
void check_child_name(const Storage& storage, std::string_view name);

/// The number under which the writer of a file knows its element.
inline TopStorageWriter::Number writer_number(ElementId element) {
  return static_cast<TopStorageWriter::Number>(element);
}

/// The file of a storage that is open for writing; raises 1021254 for one that is not.
KVPMWritableFile& writable_file(const Storage& storage);

}  // namespace VRX::System::CFI
