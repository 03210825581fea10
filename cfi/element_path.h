#pragma once

#include <string>
#include <string_view>

namespace VRX::System::CFI {

/// Elements are known by their full path from "/Root", with "/" as delimiter.

/// The condition that a full path breaks, as C++ text for a message; nullptr for a sound one.
const char* broken_path_condition(std::string_view path);

/// The same for the name of one element.
const char* broken_name_condition(std::string_view name);

/// Raises 1021253 "Structured Storage check failed..." for a name that is empty or holds a "/".
void check_name(std::string_view name);

/// The same for a path given by a caller.
void check_path(std::string_view path);

/// `parent`/`name`.
std::string joined_path(std::string_view parent, std::string_view name);

/// What stands behind the last "/".
std::string_view last_component(std::string_view path);

}  // namespace VRX::System::CFI
