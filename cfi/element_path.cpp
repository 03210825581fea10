#include "cfi/element_path.h"

#include "cfi/cfi_error_codes.h"
#include "support/limits.h"
#include "support/printable.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

void raise_check_failure(std::string_view element, const char* condition) {
  const std::string text = element.empty()
                               ? support::format_text("Structured Storage check failed: %s", condition)
                               : support::format_text("Structured Storage check failed for %s: %s",
                                                      support::printable(element).c_str(), condition);
  throw support::ErrorEscape("cfi", kInternalFailure, text);
}

}  // namespace

PathShape shape_of_path(std::string_view path) {
  if (!path.starts_with(kRootPath)) return {"path.starts_with(\"/Root\")"};
  if (path.size() > kRootPathLength && path[kRootPathLength] != '/') return {"path[5] == '/'"};
  if (path.ends_with('/')) return {"!path.ends_with(\"/\")"};
  std::size_t slash = 0;
  std::size_t depth = 1;
  for (auto next = path.find('/', 1); next != std::string_view::npos; next = path.find('/', slash + 1)) {
    if (next == slash + 1) return {"path.find(\"//\") == npos"};
    if (++depth > limits::kPathComponents) return {"depth <= maximum depth"};
    slash = next;
  }
  return {nullptr, slash};
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
  if (const char* condition = shape_of_path(path).broken_condition) raise_check_failure(path, condition);
}

std::string_view path_below_root(std::string_view path) {
  if (path.starts_with(kRootPath)) path.remove_prefix(kRootPathLength);
  return path.starts_with('/') ? path.substr(1) : path;
}

std::string joined_path(std::string_view parent, std::string_view name) {
  std::string path;
  path.reserve(parent.size() + 1 + name.size());
  path.append(parent).append(1, '/').append(name);
  return path;
}

std::string_view last_component(std::string_view path) { return path.substr(path.rfind('/') + 1); }

}  // namespace VRX::System::CFI
