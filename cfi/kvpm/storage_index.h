#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/kvpm/kvpm_format.h"
#include "cfi/plain_array.h"
#include "cfi/storage_file.h"
#include "support/number_table.h"

namespace VRX::System::CFI {

/// One listed element. Its name stands in the block of its index.
struct IndexEntry {
  std::string_view name;
  ElementType type = ElementType::stream;
  /// A stream's element offset and element size; a storage's 16 bytes of class identifier.
  std::array<std::uint64_t, 2> fields = {};

  bool is_storage() const { return type == ElementType::storage; }
  std::uint64_t offset() const { return fields[0]; }
  std::uint64_t size() const { return fields[1]; }
  std::uint64_t end() const { return fields[0] + fields[1]; }
  ClassId class_id() const;
};

/// What stands before the last "/" of one or more paths.
struct ParentPath {
  std::uint64_t offset = 0;  ///< into the block of records
  std::uint32_t length = 0;
  std::uint32_t first = 0;  ///< the first entry below it
};

/// The elements that the indexes of one file list, in the order listed: first those of the header index,
/// then those of the footer index. There may be millions, and memory touched for the first time costs more
/// than anything else here. So an entry keeps the number of its parent path, which siblings share, and one
/// record in a block of bytes: its whole path when its parent is new, else its name; its fields, without the
/// leading zeroes of a stream's; a byte that tells their widths.
///
/// An ElementId of the maker's format is an entry number + 1 in its low 33 bits; the high bits hold 0, or
/// the length of a prefix of the entry's path: the storage of that path, which is listed nowhere itself.
class StorageIndex {
 public:
  std::uint32_t size() const { return static_cast<std::uint32_t>(ends_.size()); }
  IndexEntry entry(std::uint32_t number) const;
  std::string path(std::uint32_t number) const;

  /// Entries from here on come from the footer index.
  void start_footer() {
    footer_start_ = size();
    footer_records_ = records_.size();
  }
  IndexArea area(std::uint32_t number) const {
    return number < footer_start_ ? IndexArea::header : IndexArea::footer;
  }

  /// Drops the entries of a footer index that turned out to be damaged.
  void drop_footer();

  /// The first entry of that path.
  std::optional<std::uint32_t> find(std::string_view path) const;

  /// The storage of that path when it only appears as the prefix of a listed path.
  std::optional<ElementId> find_implied(std::string_view path) const;

  /// All streams whose last path component is `name`, as listed.
  std::vector<std::uint32_t> streams_named(std::string_view name) const;

  /// The highest end of a listed stream; never wraps, since offset and size are below 2^63.
  std::uint64_t highest_end() const { return highest_end_; }

  /// The parent paths in the order in which they come up. None is empty but that of "/Root" itself; one may
  /// be there more than once.
  const PlainArray<ParentPath>& parents() const { return parents_; }
  std::string_view parent_path(std::uint32_t parent) const {
    return {records_.data() + parents_[parent].offset, parents_[parent].length};
  }
  std::uint32_t parent_of(std::uint32_t number) const { return parent_numbers_[number]; }

  static ElementId listed(std::uint32_t number) { return ElementId{number} + 1; }
  static ElementId implied(std::uint32_t number, std::size_t prefix_length) {
    return (ElementId{prefix_length} << kEntryBits) | listed(number);
  }
  static bool is_implied(ElementId element) { return element >> kEntryBits != 0; }
  static std::uint32_t entry_number(ElementId element) {
    return static_cast<std::uint32_t>((element & ((ElementId{1} << kEntryBits) - 1)) - 1);
  }

  /// The full path of any element, kRootElement included, and its last component, which is valid until
  /// entries are added.
  std::string element_path(ElementId element) const;
  std::string_view element_name(ElementId element) const;

  /// For the reader of an index: room at the end of the block of records for a path that is added next.
  char* extend_records(std::size_t path_length) { return records_.extend(path_length); }

  /// Makes an entry of a path as listed. One that lies at the end of the block of records stays there.
  void add(std::string_view path, ElementType type, const std::array<std::uint64_t, 2>& fields);

  /// The first path that is ill-formed; nothing when all are sound.
  const std::optional<std::string>& broken_path() const { return broken_path_; }

 private:
  static constexpr unsigned kEntryBits = 33;

  static constexpr std::uint32_t kNone = UINT32_MAX;

  std::string_view implied_path(ElementId element) const {
    return parent_path(parent_of(entry_number(element)))
        .substr(0, static_cast<std::size_t>(element >> kEntryBits));
  }
  bool is_path(std::uint32_t number, std::string_view path) const;
  std::optional<std::uint32_t> known_parent(std::string_view parent) const;
  std::uint32_t add_parent(std::size_t length);
  void append_path(std::string_view path, std::size_t name_start, bool is_new);
  void append_fields(ElementType type, const std::array<std::uint64_t, 2>& fields);

  PlainArray<char> records_;
  PlainArray<std::uint64_t> ends_;  // of the records
  PlainArray<std::uint32_t> parent_numbers_;
  PlainArray<std::uint32_t> fingerprints_;
  PlainArray<ParentPath> parents_;
  support::NumberTable known_parents_;  // the first of them; others may come up again
  std::uint32_t footer_start_ = kNone;
  std::size_t footer_records_ = 0;
  std::uint64_t highest_end_ = 0;
  std::uint64_t highest_header_end_ = 0;
  std::optional<std::string> broken_path_;
};

}  // namespace VRX::System::CFI
