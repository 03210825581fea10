#include "cfi/element_path.h"

#include <algorithm>

#include "cfi/cfi_error_codes.h"
#include "cfi/kvpm_format.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

void raise_check_failure(std::string_view element, const char* condition) {
  const std::string text = element.empty()
                               ? support::format_text("Structured Storage check failed: %s", condition)
                               : support::format_text("Structured Storage check failed for %s: %s",
                                                      std::string(element).c_str(), condition);
  throw support::ErrorEscape("cfi", kInternalFailure, text);
}

}  // namespace

const char* broken_path_condition(std::string_view path) {
  if (!path.starts_with(kRootPath)) return "path.starts_with(\"/Root\")";
  if (path.size() > kRootPathLength && path[kRootPathLength] != '/') return "path[5] == '/'";
  if (path.ends_with('/')) return "!path.ends_with(\"/\")";
  if (path.find("//") != std::string_view::npos) return "path.find(\"//\") == npos";
  if (static_cast<std::size_t>(std::ranges::count(path, '/')) > kMaximumDepth)
    return "depth <= maximum depth";
  return nullptr;
}

const char* broken_name_condition(std::string_view name) {
  if (name.empty()) return "!name.empty()";
  if (name.find('/') != std::string_view::npos) return "name.find(\"/\") == npos";
  return nullptr;
}

void check_name(std::string_view name) {
  if (const char* condition = broken_name_condition(name)) raise_check_failure(name, condition);
}

void check_path(std::string_view path) {
  if (const char* condition = broken_path_condition(path)) raise_check_failure(path, condition);
}

std::string joined_path(std::string_view parent, std::string_view name) {
  std::string path;
  path.reserve(parent.size() + 1 + name.size());
  path.append(parent).append(1, '/').append(name);
  return path;
}

std::string_view last_component(std::string_view path) { return path.substr(path.rfind('/') + 1); }

}  // namespace VRX::System::CFI
