#include <algorithm>
#include <string>
#include <vector>

#include "cfi/compound/compound_layout.h"
#include "cfi/compound/element_name.h"
#include "cfi/element_path.h"
#include "cfi/layout_fault_list.h"
#include "support/limits.h"

namespace VRX::System::CFI {

namespace {

/// The way up from each element, for those few whose path is wanted.
class ParentTable {
 public:
  explicit ParentTable(const CompoundDirectory& directory)
      : directory_(directory), parents_(directory.size()) {
    for (std::uint32_t i = 0; i < directory.size(); ++i) {
      const CompoundElement& storage = directory.element(i);
      std::fill_n(parents_.begin() + storage.first_child, storage.child_count, i);
    }
  }

  /// As fault_path() gives it; no more of it is put together than is shown.
  std::string path(std::uint32_t number) const {
    std::vector<std::string> names;
    std::size_t length = 0;
    for (std::uint32_t at = parents_[number]; at != kRootElement && length <= limits::kFaultPathBytes;
         at = parents_[at]) {
      names.push_back(name(at));
      length += names.back().size() + 1;
    }
    std::string parent;
    std::ranges::reverse(names);
    for (const std::string& above : names) {
      parent = parent.empty() ? above : joined_path(parent, above);
    }
    return fault_path(parent, name(number));
  }

 private:
  std::string name(std::uint32_t number) const {
    return utf8_from_utf16(directory_.name(directory_.element(number)));
  }

  const CompoundDirectory& directory_;
  std::vector<std::uint32_t> parents_;
};

/// Siblings stand in the order of their names.
bool is_named_as_before(const CompoundDirectory& directory, const CompoundElement& storage,
                        std::uint32_t child) {
  if (child == storage.first_child) return false;
  return compare_element_names(directory.name(directory.element(child - 1)),
                               directory.name(directory.element(child))) == 0;
}

}  // namespace

LayoutFaults find_equal_names(const CompoundDirectory& directory) {
  LayoutFaultList faults;
  std::vector<std::uint32_t> named_again;
  for (std::uint32_t i = 0; i < directory.size(); ++i) {
    const CompoundElement& storage = directory.element(i);
    for (std::uint32_t child = storage.first_child; child < storage.first_child + storage.child_count;
         ++child) {
      if (!is_named_as_before(directory, storage, child)) continue;
      if (faults.count(LayoutFaultKind::listed_twice)) named_again.push_back(child);
    }
  }
  if (named_again.empty()) return faults.take();
  const ParentTable parents(directory);
  for (const std::uint32_t child : named_again) {
    faults.add({LayoutFaultKind::listed_twice, 0, 0, parents.path(child), parents.path(child - 1)});
  }
  return faults.take();
}

}  // namespace VRX::System::CFI
