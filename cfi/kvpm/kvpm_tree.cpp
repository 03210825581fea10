#include "cfi/kvpm/kvpm_tree.h"

#include <algorithm>
#include <functional>

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "support/keyed_hash.h"
#include "support/limits.h"

namespace VRX::System::CFI {

namespace {

std::uint64_t hash_of(std::uint32_t parent, std::string_view name) {
  return support::keyed_hash(name) ^ (parent * std::uint64_t{0x9E3779B97F4A7C15});
}

}  // namespace

KVPMTree::KVPMTree(const StorageIndex& index) : index_(index) {
  nodes_.emplace_back();
  table_.reserve(index.parents().size());
  add_parents();
  add_entries();
  place_children();
  order_nodes();
}

void KVPMTree::add_parents() {
  std::vector<Level> levels = {{0, kRootPathLength}};
  const auto count = static_cast<std::uint32_t>(index_.parents().size());
  parent_nodes_.reserve(count);
  std::string_view before = kRootPath;
  for (std::uint32_t number = 0; number < count; ++number) {
    const std::string_view parent = index_.parent_path(number);
    if (parent.empty()) {
      parent_nodes_.push_back(kNone);
      continue;
    }
    // What this parent shares with the one before needs no search.
    const auto shared = static_cast<std::size_t>(std::ranges::mismatch(before, parent).in1 - before.begin());
    while (levels.back().path_length > shared ||
           (levels.back().path_length < parent.size() && parent[levels.back().path_length] != '/')) {
      levels.pop_back();
    }
    enter(parent, index_.parents()[number].first, levels);
    parent_nodes_.push_back(levels.back().node);
    before = parent;
  }
}

void KVPMTree::enter(std::string_view parent, std::uint32_t entry, std::vector<Level>& levels) {
  while (levels.back().path_length < parent.size()) {
    const std::size_t start = levels.back().path_length + 1;
    const std::size_t end = std::min(parent.find('/', start), parent.size());
    const std::string_view name = parent.substr(start, end - start);
    const std::uint32_t node = find_or_add(levels.back().node, name, StorageIndex::implied(entry, end));
    levels.push_back({node, end});
  }
}

void KVPMTree::add_entries() {
  for (std::uint32_t number = 0; number < index_.size(); ++number) {
    const std::uint32_t node = parent_nodes_[index_.parent_of(number)];
    if (node == kNone) continue;
    const IndexEntry entry = index_.entry(number);
    if (entry.is_storage()) {
      const ElementId listed = StorageIndex::listed(number);
      Node& found = nodes_[find_or_add(node, entry.name, listed)];
      if (StorageIndex::is_implied(found.element)) found.element = listed;
    } else {
      ++nodes_[node].child_count;
      nodes_[node].key = std::min(nodes_[node].key, entry.offset());
    }
  }
}

std::string_view KVPMTree::name_of(std::uint32_t node) const {
  return index_.element_name(nodes_[node].element);
}

std::uint32_t KVPMTree::child_storage(std::uint32_t parent, std::string_view name, std::uint64_t hash) const {
  return table_.find(
      hash, [&](std::uint32_t node) { return nodes_[node].parent == parent && name_of(node) == name; });
}

std::uint32_t KVPMTree::find_or_add(std::uint32_t parent, std::string_view name, ElementId element) {
  const std::uint64_t hash = hash_of(parent, name);
  if (const std::uint32_t known = child_storage(parent, name, hash); known != kNone) return known;
  const std::size_t most = std::size_t{index_.size()} + limits::kImpliedStorages;
  if (nodes_.size() > most || most + index_.size() >= kNone) {
    throw make_error(kDamagedIndex, "too many storages");
  }
  const auto node = static_cast<std::uint32_t>(nodes_.size());
  Node added;
  added.element = element;
  added.parent = parent;
  nodes_.push_back(added);
  ++nodes_[parent].child_count;
  table_.insert(hash, node,
                [this](std::uint32_t known) { return hash_of(nodes_[known].parent, name_of(known)); });
  return node;
}

void KVPMTree::place_children() {
  std::uint32_t next = 0;
  for (Node& node : nodes_) {
    node.first_child = next;
    next += node.child_count;
    node.child_count = 0;
  }
  children_.resize(next);
  const auto place = [this](Node& node, std::uint32_t child) {
    children_[node.first_child + node.child_count++] = child;
  };
  for (std::uint32_t number = 0; number < index_.size(); ++number) {
    const std::uint32_t node = parent_nodes_[index_.parent_of(number)];
    if (node != kNone && !index_.entry(number).is_storage()) place(nodes_[node], number);
  }
  for (std::uint32_t node = 1; node < nodes_.size(); ++node) {
    place(nodes_[nodes_[node].parent], index_.size() + node);
  }
}

void KVPMTree::order_nodes() {
  by_element_.resize(nodes_.size());
  for (std::uint32_t node = 0; node < nodes_.size(); ++node) by_element_[node] = node;
  std::ranges::sort(by_element_, {}, [this](std::uint32_t node) { return nodes_[node].element; });
}

std::optional<std::uint32_t> KVPMTree::node_of(ElementId storage) const {
  const auto found = std::ranges::lower_bound(by_element_, storage, {},
                                              [this](std::uint32_t node) { return nodes_[node].element; });
  if (found != by_element_.end() && nodes_[*found].element == storage) return *found;
  // Known by the prefix of another entry, from a time when less was loaded.
  if (StorageIndex::is_implied(storage)) return node_of_path(index_.element_path(storage));
  return std::nullopt;
}

std::optional<std::uint32_t> KVPMTree::node_of_path(std::string_view path) const {
  std::uint32_t node = 0;
  for (std::size_t at = kRootPathLength; at < path.size();) {
    const std::size_t end = std::min(path.find('/', at + 1), path.size());
    const std::string_view name = path.substr(at + 1, end - at - 1);
    node = child_storage(node, name, hash_of(node, name));
    if (node == kNone) return std::nullopt;
    at = end;
  }
  return node;
}

std::optional<ElementId> KVPMTree::find_storage(ElementId parent, std::string_view name) const {
  const std::optional<std::uint32_t> node = node_of(parent);
  if (!node) return std::nullopt;
  const std::uint32_t found = child_storage(*node, name, hash_of(*node, name));
  if (found == kNone) return std::nullopt;
  return nodes_[found].element;
}

ElementId KVPMTree::child_element(std::uint32_t child) const {
  return child < index_.size() ? StorageIndex::listed(child) : nodes_[child - index_.size()].element;
}

KVPMTree::SortItem KVPMTree::sort_item(std::uint32_t child) const {
  const std::uint32_t entry = StorageIndex::entry_number(child_element(child));
  const std::uint64_t offset =
      child < index_.size() ? index_.entry(child).offset() : nodes_[child - index_.size()].key;
  return {listing_key(index_.area(entry), offset), child};
}

std::vector<ElementId> KVPMTree::children(ElementId storage) const {
  const std::optional<std::uint32_t> node = node_of(storage);
  if (!node) return {};
  std::vector<SortItem> items;
  items.reserve(nodes_[*node].child_count);
  for (std::uint32_t i = 0; i < nodes_[*node].child_count; ++i) {
    items.push_back(sort_item(children_[nodes_[*node].first_child + i]));
  }
  const auto comes_before = [this](const SortItem& a, const SortItem& b) {
    if (a.key != b.key) return a.key < b.key;
    const std::string_view name_a = index_.element_name(child_element(a.child));
    const std::string_view name_b = index_.element_name(child_element(b.child));
    return name_a != name_b ? name_a < name_b : a.child < b.child;
  };
  // A writer that lists what it lays out has sorted already.
  if (!std::ranges::is_sorted(items, comes_before)) std::ranges::sort(items, comes_before);
  std::vector<ElementId> elements;
  elements.reserve(items.size());
  for (const SortItem& item : items) elements.push_back(child_element(item.child));
  return elements;
}

}  // namespace VRX::System::CFI
