#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "cfi/kvpm/storage_index.h"
#include "support/number_table.h"

namespace VRX::System::CFI {

/// The start offset by which a storage without streams is listed: behind all others of its area.
inline constexpr std::uint64_t kNoStartOffset = UINT64_MAX;

/// Elements of one storage are listed by this key, then by name.
constexpr std::uint64_t listing_key(IndexArea area, std::uint64_t start_offset) {
  constexpr std::uint64_t kFooterBit = std::uint64_t{1} << 63U;
  const std::uint64_t key = start_offset < kFooterBit ? start_offset : kFooterBit - 1;
  return area == IndexArea::footer ? key | kFooterBit : key;
}

/// The storages of a file with their children, made in one pass over its loaded indexes.
class KVPMTree {
 public:
  /// The index must outlive the tree and not grow. Raises 1021265 when the paths imply absurdly many
  /// storages.
  explicit KVPMTree(const StorageIndex& index);

  /// The children of a storage in listing order: header area before footer area; within one area by start
  /// offset, where a storage counts as the smallest start offset of the streams directly inside it and one
  /// without streams comes last; then by name. Empty for what is no storage.
  std::vector<ElementId> children(ElementId storage) const;

  /// The storage of that name directly inside another.
  std::optional<ElementId> find_storage(ElementId parent, std::string_view name) const;

 private:
  static constexpr std::uint32_t kNone = support::NumberTable::kNone;

  struct Node {
    ElementId element = kRootElement;
    std::uint64_t key = kNoStartOffset;  // smallest start offset of the streams directly inside
    std::uint32_t parent = kNone;
    std::uint32_t first_child = 0;  // into children_
    std::uint32_t child_count = 0;
  };
  struct Level {  // a storage on the way from the root to the one at hand
    std::uint32_t node = 0;
    std::size_t path_length = 0;
  };
  struct SortItem {
    std::uint64_t key = 0;
    std::uint32_t child = 0;
  };

  void add_parents();
  void enter(std::string_view parent, std::uint32_t entry, std::vector<Level>& levels);
  void add_entries();
  std::uint32_t find_or_add(std::uint32_t parent, std::string_view name, ElementId element);
  void place_children();
  void order_nodes();

  std::uint32_t child_storage(std::uint32_t parent, std::string_view name, std::uint64_t hash) const;
  std::string_view name_of(std::uint32_t node) const;
  std::optional<std::uint32_t> node_of(ElementId storage) const;
  std::optional<std::uint32_t> node_of_path(std::string_view path) const;
  ElementId child_element(std::uint32_t child) const;
  SortItem sort_item(std::uint32_t child) const;

  const StorageIndex& index_;
  std::vector<Node> nodes_;                  // the root first, each storage behind its parent
  support::NumberTable table_;               // nodes by parent and name
  std::vector<std::uint32_t> parent_nodes_;  // the storage of each parent path, kNone for that of "/Root"
  std::vector<std::uint32_t> children_;      // a stream: its entry; a storage: number of entries + its node
  std::vector<std::uint32_t> by_element_;    // nodes sorted by element
};

}  // namespace VRX::System::CFI
