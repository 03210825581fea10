#pragma once

#include <string_view>

#include "cfi/element_calls.h"
#include "cfi/flat/open_elements.h"

/// What the functions of the flat interface share.
namespace VRX::System::CFI {

/// The element of that name, which must exist and be of that type; raises 1021251 and 1021253.
ElementId existing_child(const Storage& storage, std::string_view name, ElementType type, AccessMode mode);

/// Raises 1021253 for a name that is empty or holds a "/".
void check_child_name(const Storage& storage, std::string_view name);

/// The file of a storage that is open for writing; raises 1021254 for one that is not.
WritableFile& writable_file(const Storage& storage);

}  // namespace VRX::System::CFI
