#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/compound/sector_allocation_table.h"
#include "cfi/storage_file.h"

namespace VRX::System::CFI {

/// One storage or stream of a compound file. Its children are the elements from `first_child` on.
struct CompoundElement {
  std::uint64_t size = 0;  ///< bytes of a stream; for the root, of the mini stream
  std::size_t name_offset = 0;
  std::uint32_t first_sector = 0;
  std::uint32_t first_child = 0;
  std::uint32_t child_count = 0;
  std::uint8_t name_length = 0;  ///< UTF-16 units
  ElementType type = ElementType::stream;
  ClassId class_id;
};

/// The tree of a compound file, read once. Elements are numbered from the root, 0, so that the children of
/// one storage are neighbours and in their order. An entry with an unknown type or an impossible name is left
/// out, and its siblings are still looked for through it; a link that leads out of the directory or to an
/// entry met before leads nowhere.
class CompoundDirectory {
 public:
  /// Raises 1021266 when there is no root entry or the directory's chain runs in a circle. When the file
  /// ends before the directory begins, the tree is an empty root.
  explicit CompoundDirectory(SectorAllocationTable& table);

  std::uint32_t size() const { return static_cast<std::uint32_t>(elements_.size()); }
  const CompoundElement& element(std::uint32_t number) const { return elements_[number]; }
  std::u16string_view name(const CompoundElement& element) const {
    return std::u16string_view(names_).substr(element.name_offset, element.name_length);
  }

  std::optional<std::uint32_t> find_child(std::uint32_t storage, std::u16string_view name) const;

  /// The file ends before the directory does.
  bool cut() const { return cut_; }

  /// A line of text for each of the first entries that are damaged, and one that counts the others.
  std::span<const std::string> damage() const { return damage_; }

 private:
  friend class CompoundDirectoryReader;

  std::vector<CompoundElement> elements_;
  std::u16string names_;
  std::vector<std::string> damage_;
  bool cut_ = false;
};

}  // namespace VRX::System::CFI
