#include "cfi/storage_index.h"

#include <algorithm>

#include "cfi/element_path.h"

namespace VRX::System::CFI {

namespace {

// A fingerprint is the last three bytes of a path, the last one lowest, below the low byte of its length. A
// scan of the fingerprints finds a path, and under a mask also a name behind its "/".
constexpr unsigned kFingerprintBytes = 3;
constexpr unsigned kLengthShift = 8 * kFingerprintBytes;

std::uint32_t last_bytes(std::string_view text) {
  if (text.size() >= kFingerprintBytes) {
    const auto* end = text.data() + text.size();
    return static_cast<std::uint32_t>(static_cast<unsigned char>(end[-3])) << 16U |
           static_cast<std::uint32_t>(static_cast<unsigned char>(end[-2])) << 8U |
           static_cast<unsigned char>(end[-1]);
  }
  std::uint32_t value = 0;
  for (const char c : text) value = value << 8U | static_cast<unsigned char>(c);
  return value;
}

std::uint32_t fingerprint(std::string_view path) {
  return static_cast<std::uint32_t>(path.size()) << kLengthShift | last_bytes(path);
}

// Calls `visit` for every position from `first` whose fingerprint agrees with `wanted` in the bits of
// `mask`, until it returns true. Whole blocks are compared at once.
template <typename Visit>
void scan(const PlainArray<std::uint32_t>& fingerprints, std::uint32_t wanted, std::uint32_t mask,
          Visit visit) {
  constexpr std::size_t kBlock = 64;
  const std::uint32_t* values = fingerprints.data();
  const std::size_t size = fingerprints.size();
  for (std::size_t start = 0; start < size; start += kBlock) {
    const std::size_t count = std::min(kBlock, size - start);
    if (count == kBlock) {
      std::uint32_t any = 0;
      for (std::size_t i = 0; i < kBlock; ++i) any |= ((values[start + i] ^ wanted) & mask) == 0 ? 1U : 0U;
      if (any == 0) continue;
    }
    for (std::size_t i = start; i < start + count; ++i) {
      if (((values[i] ^ wanted) & mask) == 0 && visit(static_cast<std::uint32_t>(i))) return;
    }
  }
}

}  // namespace

ClassId IndexEntry::class_id() const {
  ClassId id;
  id.data1 = static_cast<std::uint32_t>(fields[0]);
  id.data2 = static_cast<std::uint16_t>(fields[0] >> 32U);
  id.data3 = static_cast<std::uint16_t>(fields[0] >> 48U);
  for (std::size_t i = 0; i < id.data4.size(); ++i) {
    id.data4[i] = static_cast<std::uint8_t>(fields[1] >> (8 * i));
  }
  return id;
}

bool StorageIndex::lies_in_last_parent(std::string_view path) const {
  if (parent_runs_.size() == 0) return false;
  const ParentRun& run = parent_runs_[parent_runs_.size() - 1];
  const std::size_t behind_slash = std::size_t{run.parent_length} + 1;
  return run.parent_length > 0 && path.size() > behind_slash &&
         path.substr(0, behind_slash) == this->path(run.first).substr(0, behind_slash) &&
         path.find('/', behind_slash) == std::string_view::npos;
}

void StorageIndex::start_run(std::string_view path) {
  const PathShape shape = shape_of_path(path);
  parent_runs_.push_back({size(), static_cast<std::uint32_t>(shape.last_slash)});
  if (shape.broken_condition == nullptr || broken_condition_ != nullptr) return;
  broken_condition_ = shape.broken_condition;
  broken_entry_ = size();
}

void StorageIndex::add(std::uint32_t path_length, ElementType type,
                       const std::array<std::uint64_t, 2>& fields) {
  IndexEntry entry{paths_.size() - path_length, path_length, type, fields};
  if (type == ElementType::storage) {
    --entry.path_length;
    paths_.truncate(paths_.size() - 1);
  } else {
    highest_end_ = std::max(highest_end_, entry.end());
  }
  const std::string_view path = path_of(entry);
  if (!lies_in_last_parent(path)) start_run(path);
  fingerprints_.push_back(fingerprint(path));
  entries_.push_back(entry);
  if (footer_start_ == UINT32_MAX) highest_header_end_ = highest_end_;
}

void StorageIndex::drop_footer() {
  if (footer_start_ >= size()) return;
  paths_.truncate(static_cast<std::size_t>(entries_[footer_start_].path_offset));
  std::size_t runs = parent_runs_.size();
  while (runs > 0 && parent_runs_[runs - 1].first >= footer_start_) --runs;
  parent_runs_.truncate(runs);
  entries_.truncate(footer_start_);
  fingerprints_.truncate(footer_start_);
  highest_end_ = highest_header_end_;
  broken_condition_ = nullptr;
}

std::optional<std::uint32_t> StorageIndex::find(std::string_view path) const {
  std::optional<std::uint32_t> found;
  scan(fingerprints_, fingerprint(path), UINT32_MAX, [&](std::uint32_t number) {
    if (this->path(number) == path) found = number;
    return found.has_value();
  });
  return found;
}

std::optional<ElementId> StorageIndex::find_implied(std::string_view path) const {
  for (const ParentRun& run : parent_runs_) {
    if (run.parent_length < path.size()) continue;
    const std::string_view parent = this->path(run.first).substr(0, run.parent_length);
    const bool ends_there = parent.size() == path.size() || parent[path.size()] == '/';
    if (ends_there && parent.starts_with(path)) return implied(run.first, path.size());
  }
  return std::nullopt;
}

std::vector<std::uint32_t> StorageIndex::streams_named(std::string_view name) const {
  std::uint32_t wanted = last_bytes(name);
  std::uint32_t mask = (std::uint32_t{1} << kLengthShift) - 1;
  if (name.size() < kFingerprintBytes) {
    wanted |= static_cast<std::uint32_t>('/') << (8 * name.size());
    mask >>= 8 * (kFingerprintBytes - 1 - name.size());
  }
  std::vector<std::uint32_t> found;
  scan(fingerprints_, wanted, mask, [&](std::uint32_t number) {
    if (!entries_[number].is_storage() && last_component(path(number)) == name) found.push_back(number);
    return false;
  });
  return found;
}

std::string_view StorageIndex::element_path(ElementId element) const {
  if (element == kRootElement) return kRootPath;
  const std::string_view path = this->path(entry_number(element));
  return is_implied(element) ? path.substr(0, static_cast<std::size_t>(element >> kEntryBits)) : path;
}

}  // namespace VRX::System::CFI
