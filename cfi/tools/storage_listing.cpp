#include "cfi/tools/storage_listing.h"

#include <algorithm>
#include <vector>

#include "cfi/cfi_error_codes.h"
#include "support/limits.h"

namespace cfi_tools {

using VRX::System::CFI::ElementId;
using VRX::System::CFI::ElementNode;
using VRX::System::CFI::ElementType;
using VRX::System::CFI::StorageFile;

namespace {

constexpr std::size_t kFastLoadVersionUnit = 225;  // of the part file header
constexpr std::size_t kColumnsOfALevel = 4;
constexpr std::size_t kUsualIndentation = 64;

/// One storage on the way to the element at hand.
struct Level {
  std::vector<ElementId> children;
  std::size_t next = 0;
};

/// Visits everything below the root, depth first, without recursion.
void walk(StorageFile& file, StorageListingSink& sink) {
  const auto too_deep = [] {
    return make_error(VRX::System::CFI::kDamagedIndex, "storages are nested too deeply");
  };
  std::size_t indentation = 0;
  std::vector<Level> levels;
  levels.push_back({file.readable_children(VRX::System::CFI::kRootElement)});
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.next == level.children.size()) {
      levels.pop_back();
      continue;
    }
    const ElementId element = level.children[level.next++];
    const std::size_t depth = levels.size() - 1;
    indentation += kColumnsOfALevel * depth - std::min(kColumnsOfALevel * depth, kUsualIndentation);
    if (indentation > limits::kIndentationBytes) throw too_deep();
    const ElementNode node = file.node(element);
    sink.element(node, depth);
    if (node.type != ElementType::storage) continue;
    if (levels.size() == limits::kListedLevels) throw too_deep();
    levels.push_back({file.readable_children(element)});
  }
}

}  // namespace

void list_storages(StorageFile& file, StorageListingSink& sink) {
  sink.begin({.kind = file.kind(),
              .format_number = file.format_number(),
              .fast_load_version = file.part_header_unit(kFastLoadVersionUnit).value_or(0),
              .fast_load_end = file.fast_load_end()});
  walk(file, sink);
  sink.end_of_elements();
  sink.truncation(file.is_truncated());
  file.load_all();
}

}  // namespace cfi_tools
