#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cfi/storage_file.h"

namespace inspect {

/// Visits all elements of a container below its root storage, a storage before what it holds, in the order of
/// a listing, as far as they can be read. `visit(element, node, path)` gets the path below the root storage.
/// What lies deeper than a listing goes is left out.
template <typename Visit>
void visit_elements(VRX::System::CFI::StorageFile& file, Visit visit) {
  struct Level {
    std::vector<VRX::System::CFI::ElementId> children;
    std::size_t next = 0;
    std::size_t path_length = 0;  ///< of the storage
  };
  constexpr std::size_t kLevels = 1024;
  std::string path;
  std::vector<Level> levels;
  levels.push_back({file.readable_children(VRX::System::CFI::kRootElement)});
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.next == level.children.size()) {
      levels.pop_back();
      continue;
    }
    const auto element = level.children[level.next++];
    const VRX::System::CFI::ElementNode node = file.node(element);
    path.resize(level.path_length);
    if (!path.empty()) path += '/';
    path += node.name;
    visit(element, node, path);
    if (node.type != VRX::System::CFI::ElementType::storage || levels.size() == kLevels) continue;
    levels.push_back({file.readable_children(element), 0, path.size()});
  }
}

}  // namespace inspect
