#include "cfi/compound/compound_directory.h"

#include <algorithm>
#include <numeric>
#include <span>

#include "cfi/cfi_error_codes.h"
#include "cfi/compound/element_name.h"
#include "cfi/compound/sector_chain.h"
#include "support/byte_order.h"
#include "support/limits.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

using namespace compound;

namespace {

using EntryBytes = std::span<const unsigned char>;

std::uint32_t link_at(EntryBytes bytes, std::size_t offset) {
  return support::load_little<std::uint32_t>(bytes.data() + offset);
}

ClassId class_id_of(EntryBytes bytes) {
  const unsigned char* at = bytes.data() + entry::kClassId;
  ClassId id;
  id.data1 = support::load_little<std::uint32_t>(at);
  id.data2 = support::load_little<std::uint16_t>(at + 4);
  id.data3 = support::load_little<std::uint16_t>(at + 6);
  std::copy_n(at + 8, id.data4.size(), id.data4.begin());
  return id;
}

unsigned name_bytes_of(EntryBytes bytes) {
  return support::load_little<std::uint16_t>(bytes.data() + entry::kNameLength);
}

/// The name's units without its end; 0 when its length in bytes is impossible.
std::uint8_t name_length_of(EntryBytes bytes) {
  const unsigned length = name_bytes_of(bytes);
  const bool possible = length >= 4 && length <= entry::kMaxNameBytes && length % 2 == 0;
  return possible ? static_cast<std::uint8_t>(length / 2 - 1) : std::uint8_t{0};
}

}  // namespace

/// Reads entries and builds the tree from the root downwards, one storage after another.
class CompoundDirectoryReader {
 public:
  CompoundDirectoryReader(SectorAllocationTable& table, CompoundDirectory& directory);
  void read();

 private:
  /// A link from one directory entry to another.
  struct Link {
    std::uint32_t from;
    std::uint32_t to;
  };
  /// An entry of the tree of siblings, before or after its left side.
  struct Visit {
    Link link;
    bool left_done;
  };

  EntryBytes entry_bytes(std::uint32_t index);
  void read_root();
  void read_children(std::uint32_t storage);
  void walk_siblings(Link top);
  bool leads_to_new_entry(Link link);
  void take(std::uint32_t index, EntryBytes bytes);
  void append(std::uint32_t index, EntryBytes bytes, ElementType type, std::uint8_t name_length);
  void report_damage(std::uint32_t index, const std::string& what);
  void sort_children(const CompoundElement& storage);

  SectorAllocationTable& table_;
  CompoundDirectory& directory_;
  SectorChain chain_;
  std::uint32_t entry_count_;
  std::vector<bool> visited_;
  std::vector<Visit> to_visit_;
  std::vector<Link> child_links_;  ///< of each element, to the entry at the top of its children
  std::size_t damaged_entries_ = 0;
};

CompoundDirectoryReader::CompoundDirectoryReader(SectorAllocationTable& table, CompoundDirectory& directory)
    : table_(table),
      directory_(directory),
      chain_(table, table.header().first_directory_sector, UINT64_MAX),
      entry_count_(static_cast<std::uint32_t>(
          std::min<std::uint64_t>(chain_.capacity() / entry::kSize, kMaxRegularSector))),
      visited_(entry_count_) {
  chain_.require_no_circle("the directory");
  directory_.cut_ = chain_.leaves_file();
}

/// Empty when the file ends inside the entry.
EntryBytes CompoundDirectoryReader::entry_bytes(std::uint32_t index) {
  const auto per_sector = static_cast<std::uint32_t>(table_.header().sector_size() / entry::kSize);
  const EntryBytes sector = table_.tables().sector(chain_.sector(index / per_sector));
  const std::size_t at = entry::kSize * (index % per_sector);
  if (sector.size() >= at + entry::kSize) return sector.subspan(at, entry::kSize);
  directory_.cut_ = true;
  return {};
}

void CompoundDirectoryReader::read() {
  read_root();
  for (std::uint32_t i = 0; i < directory_.elements_.size(); ++i) {
    if (directory_.elements_[i].type == ElementType::storage) read_children(i);
  }
  if (damaged_entries_ <= limits::kReportedEntries) return;
  directory_.damage_.push_back(support::format_text("%zu more directory entries are damaged",
                                                    damaged_entries_ - limits::kReportedEntries));
}

void CompoundDirectoryReader::report_damage(std::uint32_t index, const std::string& what) {
  if (++damaged_entries_ > limits::kReportedEntries) return;
  directory_.damage_.push_back(support::format_text("damaged directory entry %u: %s", index, what.c_str()));
}

void CompoundDirectoryReader::read_root() {
  const EntryBytes bytes = entry_count_ > 0 ? entry_bytes(0) : EntryBytes{};
  if (bytes.empty() && directory_.cut_) {
    directory_.elements_.emplace_back().type = ElementType::storage;
    child_links_.push_back({0, kFreeSector});
    return;
  }
  if (bytes.empty() || bytes[entry::kType] != kRootObject) {
    throw make_error(kDamagedCompoundFile, "the directory has no root entry");
  }
  visited_[0] = true;
  append(0, bytes, ElementType::storage, name_length_of(bytes));
}

void CompoundDirectoryReader::read_children(std::uint32_t storage) {
  const auto first = static_cast<std::uint32_t>(directory_.elements_.size());
  walk_siblings(child_links_[storage]);
  CompoundElement& parent = directory_.elements_[storage];
  parent.first_child = first;
  parent.child_count = static_cast<std::uint32_t>(directory_.elements_.size()) - first;
  sort_children(parent);
}

/// Takes the left side, the entry, then the right side, which is the order of a sound tree.
void CompoundDirectoryReader::walk_siblings(Link top) {
  to_visit_.assign(1, {top, false});
  while (!to_visit_.empty()) {
    const Visit visit = to_visit_.back();
    to_visit_.pop_back();
    if (!visit.left_done && !leads_to_new_entry(visit.link)) continue;
    const std::uint32_t index = visit.link.to;
    const EntryBytes bytes = entry_bytes(index);
    if (bytes.empty()) continue;
    if (visit.left_done) {
      take(index, bytes);
      continue;
    }
    to_visit_.push_back({{index, link_at(bytes, entry::kRightSibling)}, false});
    to_visit_.push_back({visit.link, true});
    to_visit_.push_back({{index, link_at(bytes, entry::kLeftSibling)}, false});
  }
}

/// Marks the entry as visited.
bool CompoundDirectoryReader::leads_to_new_entry(Link link) {
  if (link.to == kFreeSector) return false;
  if (link.to >= entry_count_) {
    // Of a directory that the file cuts short the rest is missing, not damaged.
    if (!directory_.cut_) {
      report_damage(link.from, support::format_text("it links to entry %u of %u", link.to, entry_count_));
    }
    return false;
  }
  if (visited_[link.to]) {
    report_damage(link.from, support::format_text("it links to entry %u, as another entry does", link.to));
    return false;
  }
  visited_[link.to] = true;
  return true;
}

void CompoundDirectoryReader::take(std::uint32_t index, EntryBytes bytes) {
  const unsigned type = bytes[entry::kType];
  const std::uint8_t name_length = name_length_of(bytes);
  if (type != kStorageObject && type != kStreamObject) {
    report_damage(index, support::format_text("unknown type %u", type));
  } else if (name_length == 0) {
    report_damage(index, support::format_text("name of %u bytes", name_bytes_of(bytes)));
  } else {
    append(index, bytes, type == kStorageObject ? ElementType::storage : ElementType::stream, name_length);
  }
}

void CompoundDirectoryReader::append(std::uint32_t index, EntryBytes bytes, ElementType type,
                                     std::uint8_t name_length) {
  CompoundElement element;
  element.type = type;
  element.name_offset = directory_.names_.size();
  element.name_length = name_length;
  for (std::size_t i = 0; i < name_length; ++i) {
    directory_.names_ += static_cast<char16_t>(support::load_little<std::uint16_t>(bytes.data() + 2 * i));
  }
  element.first_sector = link_at(bytes, entry::kFirstSector);
  element.size = support::load_little<std::uint64_t>(bytes.data() + entry::kStreamSize);
  // Old writers left garbage in the upper half.
  if (table_.header().major_version == 3) element.size &= 0xFFFFFFFFU;
  if (type == ElementType::storage) element.class_id = class_id_of(bytes);
  directory_.elements_.push_back(element);
  child_links_.push_back({index, link_at(bytes, entry::kChild)});
}

/// Only a damaged or strangely written tree is not in order already.
void CompoundDirectoryReader::sort_children(const CompoundElement& storage) {
  auto& elements = directory_.elements_;
  const auto before = [&](const CompoundElement& left, const CompoundElement& right) {
    return compare_element_names(directory_.name(left), directory_.name(right)) < 0;
  };
  const auto first = elements.begin() + storage.first_child;
  if (std::is_sorted(first, elements.end(), before)) return;
  // The child links move with their elements, so the order is found first.
  std::vector<std::uint32_t> order(storage.child_count);
  std::iota(order.begin(), order.end(), storage.first_child);
  std::ranges::stable_sort(order,
                           [&](auto left, auto right) { return before(elements[left], elements[right]); });
  std::vector<CompoundElement> sorted_elements;
  std::vector<Link> sorted_links;
  for (const std::uint32_t number : order) {
    sorted_elements.push_back(elements[number]);
    sorted_links.push_back(child_links_[number]);
  }
  std::ranges::copy(sorted_elements, first);
  std::ranges::copy(sorted_links, child_links_.begin() + storage.first_child);
}

CompoundDirectory::CompoundDirectory(SectorAllocationTable& table) {
  CompoundDirectoryReader(table, *this).read();
}

std::optional<std::uint32_t> CompoundDirectory::find_child(std::uint32_t storage,
                                                           std::u16string_view wanted) const {
  const auto first = elements_.begin() + elements_[storage].first_child;
  const auto last = first + elements_[storage].child_count;
  const auto found = std::partition_point(
      first, last, [&](const CompoundElement& e) { return compare_element_names(name(e), wanted) < 0; });
  if (found == last || compare_element_names(name(*found), wanted) != 0) return std::nullopt;
  return static_cast<std::uint32_t>(found - elements_.begin());
}

}  // namespace VRX::System::CFI
