#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "cfi/kvpm_format.h"
#include "cfi/plain_array.h"
#include "cfi/storage_file.h"

namespace VRX::System::CFI {

/// One listed element. Its path stands in the block of paths of its index, without a final "/".
struct IndexEntry {
  std::uint64_t path_offset = 0;
  std::uint32_t path_length = 0;
  ElementType type = ElementType::stream;
  /// A stream's element offset and element size; a storage's 16 bytes of class identifier.
  std::array<std::uint64_t, 2> fields = {};

  bool is_storage() const { return type == ElementType::storage; }
  std::uint64_t offset() const { return fields[0]; }
  std::uint64_t size() const { return fields[1]; }
  std::uint64_t end() const { return fields[0] + fields[1]; }
  ClassId class_id() const;
};

/// A run of entries that lie in the same storage: from `first` to the next run.
struct ParentRun {
  std::uint32_t first = 0;
  std::uint32_t parent_length = 0;
};

/// The elements that the indexes of one file list, in the order listed: first those of the header index,
/// then those of the footer index. Kept in a few large blocks, since there may be millions.
///
/// An ElementId of the maker's format is an entry number + 1 in its low 33 bits; the high bits hold 0, or
/// the length of a prefix of the entry's path: the storage of that path, which is listed nowhere itself.
class StorageIndex {
 public:
  std::uint32_t size() const { return static_cast<std::uint32_t>(entries_.size()); }
  const IndexEntry& entry(std::uint32_t number) const { return entries_[number]; }
  std::string_view path(std::uint32_t number) const { return path_of(entries_[number]); }

  /// Entries from here on come from the footer index.
  void start_footer() { footer_start_ = size(); }
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

  /// Entries grouped by the storage that they lie in.
  const PlainArray<ParentRun>& parent_runs() const { return parent_runs_; }

  static ElementId listed(std::uint32_t number) { return ElementId{number} + 1; }
  static ElementId implied(std::uint32_t number, std::size_t prefix_length) {
    return (ElementId{prefix_length} << kEntryBits) | listed(number);
  }
  static bool is_implied(ElementId element) { return element >> kEntryBits != 0; }
  static std::uint32_t entry_number(ElementId element) {
    return static_cast<std::uint32_t>((element & ((ElementId{1} << kEntryBits) - 1)) - 1);
  }

  /// The full path of any element, kRootElement included; valid until entries are added.
  std::string_view element_path(ElementId element) const;

  /// For the reader of an index: room for a path, to be followed by `add` with the length kept.
  char* extend_paths(std::size_t length) { return paths_.extend(length); }

  /// Adds an entry over the last `path_length` bytes of the block of paths, less a final "/".
  void add(std::uint32_t path_length, ElementType type, const std::array<std::uint64_t, 2>& fields);

  /// The condition that the first ill-formed path breaks, nullptr when all are sound.
  const char* broken_condition() const { return broken_condition_; }
  std::string_view broken_path() const { return path(broken_entry_); }

 private:
  static constexpr unsigned kEntryBits = 33;

  std::string_view path_of(const IndexEntry& entry) const {
    return {paths_.data() + entry.path_offset, entry.path_length};
  }
  bool lies_in_last_parent(std::string_view path) const;
  void start_run(std::string_view path);

  PlainArray<char> paths_;
  PlainArray<IndexEntry> entries_;
  PlainArray<std::uint32_t> fingerprints_;
  PlainArray<ParentRun> parent_runs_;
  std::uint32_t footer_start_ = UINT32_MAX;
  std::uint64_t highest_end_ = 0;
  std::uint64_t highest_header_end_ = 0;
  const char* broken_condition_ = nullptr;
  std::uint32_t broken_entry_ = 0;
};

}  // namespace VRX::System::CFI
