#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace VRX::System::CFI {

/// Elements are known by their full path from "/Root", with "/" as delimiter.
inline constexpr char kRootPath[] = "/Root";
inline constexpr std::size_t kRootPathLength = sizeof kRootPath - 1;

/// What one look at a full path shows.
struct PathShape {
  const char* broken_condition = nullptr;  ///< the condition that it breaks, as C++ text; nullptr: sound
  std::size_t last_slash = 0;              ///< of a sound path
};
PathShape shape_of_path(std::string_view path);

/// The same for the name of one element.
const char* broken_name_condition(std::string_view name);

/// Raises 1021253 "Structured Storage check failed..." for a name that is empty or holds a "/".
void check_name(std::string_view name);

/// The same for a path given by a caller.
void check_path(std::string_view path);

/// What follows "/Root/" in a full path; empty for the root storage.
std::string_view path_below_root(std::string_view path);

/// `parent`/`name`.
std::string joined_path(std::string_view parent, std::string_view name);

/// What stands behind the last "/".
std::string_view last_component(std::string_view path);

}  // namespace VRX::System::CFI
