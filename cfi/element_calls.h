#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

#include "cfi/diagnostics_channels.h"
#include "cfi/storage_element.h"
#include "support/error_escape.h"
#include "support/printable.h"
#include "support/text_format.h"

/// What every call on an element of a storage file does, whoever makes it: it is shown, and its errors tell
/// what was being done.
namespace VRX::System::CFI {

/// Shows a call on the "cfi_storage" channel; paths are only put together when it is on.
inline void show_call(const char* function, const StorageElement& element, std::string_view detail = {}) {
  if (!cfi_storage_channel().enabled()) return;
  cfi_storage_channel().print("%s: %s%s%s\n", function, support::printable(element.path()).c_str(),
                              detail.empty() ? "" : " ", support::printable(detail).c_str());
}

/// The same for a call with a number: bytes, a position or a distance.
template <std::integral Number>
void show_call(const char* function, const StorageElement& element, Number number) {
  if (cfi_storage_channel().enabled()) show_call(function, element, std::string_view(std::to_string(number)));
}

/// What goes wrong in a compound file is reported by what was being done, as the maker's format has its own
/// texts.
template <typename Call>
auto converting_errors(const char* doing, const StorageElement& element, Call call) {
  try {
    return call();
  } catch (const support::ErrorEscape& escape) {
    if (element.file().kind() != FileKind::microsoft) throw;
    throw support::ErrorEscape(
        escape.module(), escape.code(),
        support::format_text("Structured storage failed %s %s: %s", doing,
                             support::printable(element.path()).c_str(), escape.what()));
  }
}

std::optional<ElementId> find_child(const StorageElement& storage, std::string_view name);

/// The element of that name to be read, which must exist (1021251) and be of that type (1021253).
ElementId existing_child(const StorageElement& storage, std::string_view name, ElementType type);

std::unique_ptr<support::ByteSource> open_source(const StorageElement& storage, ElementId stream);
ElementRecord stream_stats(const StorageElement& stream);
std::size_t read_source(const StorageElement& stream, support::ByteSource& source, void* buffer,
                        std::size_t count);

}  // namespace VRX::System::CFI
