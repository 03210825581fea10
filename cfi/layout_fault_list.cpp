#include "cfi/layout_fault_list.h"

#include <algorithm>
#include <utility>

#include "cfi/element_path.h"
#include "support/limits.h"

namespace VRX::System::CFI {

bool LayoutFaultList::count(LayoutFaultKind kind) {
  switch (kind) {
    case LayoutFaultKind::streams_overlap:
      return ++faults_.streams_overlap <= limits::kLayoutFaults;
    case LayoutFaultKind::index_overlap:
      return ++faults_.index_overlap <= limits::kLayoutFaults;
    case LayoutFaultKind::listed_twice:
      return ++faults_.listed_twice <= limits::kLayoutFaults;
  }
  return false;
}

std::string fault_path(std::string_view parent, std::string_view name) {
  parent.remove_prefix(std::min(parent.size(), parent.starts_with(kRootPath) ? kRootPathLength + 1 : 0));
  const std::size_t length = parent.size() + (parent.empty() ? 0 : 1) + name.size();
  if (length <= limits::kFaultPathBytes)
    return parent.empty() ? std::string(name) : joined_path(parent, name);
  // Only what is shown is put together: the whole may be as long as the index.
  const std::string_view end = name.substr(name.size() - std::min(name.size(), limits::kFaultPathBytes));
  const std::size_t of_parent = std::min(parent.size(), limits::kFaultPathBytes - end.size());
  return "..." + joined_path(parent.substr(parent.size() - of_parent), end);
}

}  // namespace VRX::System::CFI
