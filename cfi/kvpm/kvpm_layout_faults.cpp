#include <algorithm>
#include <bit>
#include <span>
#include <utility>
#include <vector>

#include "cfi/kvpm/kvpm_layout.h"
#include "cfi/layout_fault_list.h"
#include "support/keyed_hash.h"

namespace VRX::System::CFI {

namespace {

/// Keeps the few ranges of the container's own.
class RangeKeeper final : public LayoutSink {
 public:
  void structure(const LayoutRange& range) override { ranges_.push_back(range); }
  void stream_run(const StreamRun& run) override { static_cast<void>(run); }
  std::span<const LayoutRange> ranges() const { return ranges_; }

 private:
  std::vector<LayoutRange> ranges_;
};

/// A hash of a path stands above the number of its entry.
constexpr unsigned kNumberBits = 32;

class FaultSearch {
 public:
  explicit FaultSearch(const StorageIndex& index) : index_(index) {}

  void find_overlapping_streams();
  void find_overlapped_tables(std::span<const LayoutRange> tables);
  void find_overlapping_indexes(const KvpmFacts& facts);
  void find_equal_paths();
  LayoutFaults take() { return faults_.take(); }

 private:
  struct Start {
    std::uint64_t offset;
    std::uint32_t number;
  };

  bool is_filled_stream(const IndexEntry& entry) const { return !entry.is_storage() && entry.size() > 0; }
  bool in_file_order() const;
  std::vector<Start> sorted_streams() const;
  void hold_against_farthest(std::uint32_t number);
  bool same_path(std::uint32_t left, std::uint32_t right) const;
  std::vector<std::uint32_t> path_hashes();
  std::vector<std::uint64_t> repeated_hashes();
  void report_equal_paths(std::span<const std::uint64_t> alike);
  std::string path(std::uint32_t number) const;

  const StorageIndex& index_;
  LayoutFaultList faults_;
  std::vector<std::uint64_t> parent_hashes_;
  std::uint64_t farthest_end_ = 0;  ///< of the streams held against each other so far
  std::uint32_t farthest_ = 0;
};

std::string FaultSearch::path(std::uint32_t number) const {
  const std::string_view parent = index_.parent_path(index_.parent_of(number));
  return parent.empty() ? std::string() : fault_path(parent, index_.entry(number).name);
}

bool FaultSearch::in_file_order() const {
  std::uint64_t before = 0;
  for (std::uint32_t number = 0; number < index_.size(); ++number) {
    const IndexEntry entry = index_.entry(number);
    if (!is_filled_stream(entry)) continue;
    if (entry.offset() < before) return false;
    before = entry.offset();
  }
  return true;
}

std::vector<FaultSearch::Start> FaultSearch::sorted_streams() const {
  std::vector<Start> starts;
  starts.reserve(index_.size());
  for (std::uint32_t number = 0; number < index_.size(); ++number) {
    const IndexEntry entry = index_.entry(number);
    if (is_filled_stream(entry)) starts.push_back({entry.offset(), number});
  }
  std::ranges::sort(starts, {}, [](const Start& start) { return std::pair(start.offset, start.number); });
  return starts;
}

/// Of the streams that begin before it, one that reaches farthest decides whether any reaches into it.
void FaultSearch::hold_against_farthest(std::uint32_t number) {
  const IndexEntry entry = index_.entry(number);
  if (!is_filled_stream(entry)) return;
  if (entry.offset() < farthest_end_ && faults_.count(LayoutFaultKind::streams_overlap)) {
    faults_.add({LayoutFaultKind::streams_overlap, entry.offset(),
                 std::min(entry.end(), farthest_end_) - entry.offset(), path(number), path(farthest_)});
  }
  if (entry.end() <= farthest_end_) return;
  farthest_end_ = entry.end();
  farthest_ = number;
}

void FaultSearch::find_overlapping_streams() {
  // Writers list streams as they lie; then nothing has to be sorted.
  if (in_file_order()) {
    for (std::uint32_t number = 0; number < index_.size(); ++number) hold_against_farthest(number);
  } else {
    for (const Start& start : sorted_streams()) hold_against_farthest(start.number);
  }
}

/// One fault for a stream, however many ranges it lies over.
void FaultSearch::find_overlapped_tables(std::span<const LayoutRange> tables) {
  for (std::uint32_t number = 0; number < index_.size(); ++number) {
    const IndexEntry entry = index_.entry(number);
    if (!is_filled_stream(entry)) continue;
    const auto lies_under = [&](const LayoutRange& table) {
      return entry.offset() < table.offset + table.length && table.offset < entry.end();
    };
    const auto table = std::ranges::find_if(tables, lies_under);
    if (table == tables.end() || !faults_.count(LayoutFaultKind::index_overlap)) continue;
    const std::uint64_t start = std::max(entry.offset(), table->offset);
    const std::uint64_t end = std::min(entry.end(), table->offset + table->length);
    faults_.add(
        {LayoutFaultKind::index_overlap, start, end - start, path(number), std::string(table->owner)});
  }
}

/// The footer index may be said to begin anywhere; what is before it ends with the header index.
void FaultSearch::find_overlapping_indexes(const KvpmFacts& facts) {
  if (!facts.header_index || !facts.footer_index) return;
  const std::uint64_t header_end = facts.header_index->offset + facts.header_index->length;
  const std::uint64_t start = facts.footer_index->offset;
  if (start >= header_end || facts.footer_index->length == 0) return;
  if (!faults_.count(LayoutFaultKind::index_overlap)) return;
  const std::uint64_t end = std::min(header_end, start + facts.footer_index->length);
  faults_.add({LayoutFaultKind::index_overlap, start, end - start, "container.footer_index",
               "container.header_index"});
}

// By the hash of the parents, which may be long: it has a key and 64 bits.
bool FaultSearch::same_path(std::uint32_t left, std::uint32_t right) const {
  return parent_hashes_[index_.parent_of(left)] == parent_hashes_[index_.parent_of(right)] &&
         index_.entry(left).name == index_.entry(right).name;
}

/// Of entries whose paths have the same hash, in the order listed.
void FaultSearch::report_equal_paths(std::span<const std::uint64_t> alike) {
  const auto number_of = [](std::uint64_t key) { return static_cast<std::uint32_t>(key); };
  for (std::size_t i = 1; i < alike.size(); ++i) {
    const std::uint32_t number = number_of(alike[i]);
    const auto first =
        std::ranges::find_if(alike, [&](std::uint64_t key) { return same_path(number_of(key), number); });
    if (number_of(*first) == number || !faults_.count(LayoutFaultKind::listed_twice)) continue;
    const IndexEntry entry = index_.entry(number);
    const bool is_stream = !entry.is_storage();
    const std::string shown = path(number);
    faults_.add({LayoutFaultKind::listed_twice, is_stream ? entry.offset() : 0, is_stream ? entry.size() : 0,
                 shown, shown});
  }
}

std::vector<std::uint32_t> FaultSearch::path_hashes() {
  parent_hashes_.reserve(index_.parents().size());
  for (std::uint32_t parent = 0; parent < index_.parents().size(); ++parent) {
    parent_hashes_.push_back(support::keyed_hash(index_.parent_path(parent)));
  }
  constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
  std::vector<std::uint32_t> hashes;
  hashes.reserve(index_.size());
  for (std::uint32_t number = 0; number < index_.size(); ++number) {
    const std::uint64_t parent = parent_hashes_[index_.parent_of(number)] * kGoldenRatio;
    const std::uint64_t name = support::keyed_hash(index_.entry(number).name);
    hashes.push_back(static_cast<std::uint32_t>((parent ^ name) >> 32U));
  }
  return hashes;
}

/// Sorting the hashes of all entries would take longer than all else that is done with an index, so that most
/// of those that stand alone are left out first.
std::vector<std::uint64_t> FaultSearch::repeated_hashes() {
  constexpr std::size_t kBitsForEntry = 8;
  const std::vector<std::uint32_t> hashes = path_hashes();
  const std::size_t bits = std::bit_ceil(kBitsForEntry * hashes.size() + 1);
  std::vector<bool> seen(bits);
  std::vector<bool> seen_again(bits);
  for (const std::uint32_t hash : hashes) {
    const std::size_t bit = hash & (bits - 1);
    if (seen[bit]) seen_again[bit] = true;
    seen[bit] = true;
  }
  std::vector<std::uint64_t> found;
  for (std::uint32_t number = 0; number < hashes.size(); ++number) {
    if (!seen_again[hashes[number] & (bits - 1)]) continue;
    found.push_back(std::uint64_t{hashes[number]} << kNumberBits | number);
  }
  std::ranges::sort(found);
  return found;
}

void FaultSearch::find_equal_paths() {
  const std::vector<std::uint64_t> keys = repeated_hashes();
  for (auto first = keys.begin(); first != keys.end();) {
    const auto end = std::find_if(
        first, keys.end(), [&](std::uint64_t key) { return key >> kNumberBits != *first >> kNumberBits; });
    report_equal_paths({first, end});
    first = end;
  }
}

}  // namespace

LayoutFaults find_layout_faults(const StorageIndex& index, const KvpmFacts& facts, std::uint64_t file_size) {
  RangeKeeper tables;
  lay_out_tables(facts, file_size, tables);
  FaultSearch search(index);
  search.find_overlapping_streams();
  search.find_overlapped_tables(tables.ranges());
  search.find_overlapping_indexes(facts);
  search.find_equal_paths();
  return search.take();
}

}  // namespace VRX::System::CFI
