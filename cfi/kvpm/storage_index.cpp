#include "cfi/kvpm/storage_index.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "cfi/element_path.h"
#include "support/byte_order.h"
#include "support/keyed_hash.h"

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

// Parents that are looked for: what a file may cost is bounded, and the table stays close at hand.
constexpr std::size_t kMostKnownParents = std::size_t{1} << 16U;

// The widths of a record's two fields in bytes, 0 to 8: the first in the low half. Both are whole in the
// class identifier of a storage.
constexpr std::size_t kFieldSize = 8;
constexpr unsigned char kWholeFields = 0x88;
constexpr unsigned char kClassId = 0xFF;

std::size_t field_width(std::uint64_t value) {
  return (static_cast<std::size_t>(std::bit_width(value)) + 7) / 8;
}

std::uint64_t load_field(const char* bytes, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < width; ++i) {
    value |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
  }
  return value;
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

IndexEntry StorageIndex::entry(std::uint32_t number) const {
  const ParentPath& parent = parents_[parent_numbers_[number]];
  const std::size_t name_start = parent.first == number ? std::size_t{parent.length} + 1 : 0;
  const char* const start = records_.data() + (number == 0 ? 0 : ends_[number - 1]) + name_start;
  const char* const end = records_.data() + ends_[number] - 1;
  const auto mark = static_cast<unsigned char>(*end);
  const unsigned widths = mark == kClassId ? kWholeFields : mark;
  const std::size_t first_width = widths & 0xFU;
  const std::size_t second_width = widths >> 4U;
  const char* const fields = end - second_width - first_width;
  return {.name = {start, fields},
          .type = mark == kClassId ? ElementType::storage : ElementType::stream,
          .fields = {load_field(fields, first_width), load_field(fields + first_width, second_width)}};
}

std::string StorageIndex::path(std::uint32_t number) const {
  return joined_path(parent_path(parent_numbers_[number]), entry(number).name);
}

bool StorageIndex::is_path(std::uint32_t number, std::string_view path) const {
  const std::string_view parent = parent_path(parent_numbers_[number]);
  const std::string_view name = entry(number).name;
  return path.size() == parent.size() + 1 + name.size() && path[parent.size()] == '/' &&
         path.starts_with(parent) && path.ends_with(name);
}

std::optional<std::uint32_t> StorageIndex::known_parent(std::string_view parent) const {
  if (size() > 0 && parent_path(parent_numbers_[size() - 1]) == parent) return parent_numbers_[size() - 1];
  const std::uint32_t found = known_parents_.find(
      support::keyed_hash(parent), [&](std::uint32_t number) { return parent_path(number) == parent; });
  if (found == support::NumberTable::kNone) return std::nullopt;
  return found;
}

/// The parent of the path at the end of the block of records.
std::uint32_t StorageIndex::add_parent(std::size_t length) {
  const auto number = static_cast<std::uint32_t>(parents_.size());
  parents_.push_back({size() == 0 ? 0 : ends_[size() - 1], static_cast<std::uint32_t>(length), size()});
  const auto hash_of = [this](std::uint32_t known) { return support::keyed_hash(parent_path(known)); };
  if (known_parents_.size() < kMostKnownParents) known_parents_.insert(hash_of(number), number, hash_of);
  return number;
}

void StorageIndex::append_fields(ElementType type, const std::array<std::uint64_t, 2>& fields) {
  const bool whole = type == ElementType::storage;
  const std::size_t first_width = whole ? kFieldSize : field_width(fields[0]);
  const std::size_t second_width = whole ? kFieldSize : field_width(fields[1]);
  unsigned char packed[2 * kFieldSize + 1];
  support::store_little(packed, fields[0]);
  support::store_little(packed + first_width, fields[1]);
  const std::size_t length = first_width + second_width + 1;
  packed[length - 1] = whole ? kClassId : static_cast<unsigned char>(second_width << 4U | first_width);
  std::memcpy(records_.extend(length), packed, length);
}

/// The whole path when its parent is new, else the name.
void StorageIndex::append_path(std::string_view path, std::size_t name_start, bool with_parent) {
  if (path.empty()) return;  // ill-formed, as its reader will say
  const std::size_t dropped = with_parent ? 0 : name_start;
  if (path.data() + path.size() == records_.end()) {
    records_.erase(records_.size() - path.size(), dropped);
  } else {
    path.remove_prefix(dropped);
    std::memcpy(records_.extend(path.size()), path.data(), path.size());
  }
}

void StorageIndex::add(std::string_view path, ElementType type, const std::array<std::uint64_t, 2>& fields) {
  if (type == ElementType::storage) {
    if (path.data() + path.size() == records_.end()) records_.truncate(records_.size() - 1);
    path.remove_suffix(1);
  } else {
    highest_end_ = std::max(highest_end_, fields[0] + fields[1]);
    if (footer_start_ == kNone) highest_header_end_ = highest_end_;
  }
  const auto* const slash = static_cast<const char*>(::memrchr(path.data(), '/', path.size()));
  const std::size_t name_start = slash == nullptr ? 0 : static_cast<std::size_t>(slash - path.data()) + 1;
  const std::string_view parent = path.substr(0, std::max<std::size_t>(name_start, 1) - 1);
  const std::optional<std::uint32_t> known = known_parent(parent);
  // What lies beside a sound path is sound when it has a name.
  const bool is_sound = (known && !parent.empty() && name_start < path.size()) ||
                        shape_of_path(path).broken_condition == nullptr;
  if (!is_sound && !broken_path_) broken_path_ = path;
  fingerprints_.push_back(fingerprint(path));
  append_path(path, name_start, !known);
  parent_numbers_.push_back(known ? *known : add_parent(parent.size()));
  append_fields(type, fields);
  ends_.push_back(records_.size());
}

void StorageIndex::drop_footer() {
  if (footer_start_ == kNone) return;
  records_.truncate(footer_records_);
  ends_.truncate(footer_start_);
  parent_numbers_.truncate(footer_start_);
  fingerprints_.truncate(footer_start_);
  std::size_t parents = parents_.size();
  while (parents > 0 && parents_[parents - 1].first >= footer_start_) --parents;
  parents_.truncate(parents);
  known_parents_ = {};
  highest_end_ = highest_header_end_;
  broken_path_.reset();
}

std::optional<std::uint32_t> StorageIndex::find(std::string_view path) const {
  std::optional<std::uint32_t> found;
  scan(fingerprints_, fingerprint(path), UINT32_MAX, [&](std::uint32_t number) {
    if (is_path(number, path)) found = number;
    return found.has_value();
  });
  return found;
}

std::optional<ElementId> StorageIndex::find_implied(std::string_view path) const {
  for (std::uint32_t number = 0; number < parents_.size(); ++number) {
    const std::string_view parent = parent_path(number);
    if (parent.size() < path.size()) continue;
    const bool ends_there = parent.size() == path.size() || parent[path.size()] == '/';
    if (ends_there && parent.starts_with(path)) return implied(parents_[number].first, path.size());
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
    const IndexEntry listed = entry(number);
    if (!listed.is_storage() && listed.name == name) found.push_back(number);
    return false;
  });
  return found;
}

std::string StorageIndex::element_path(ElementId element) const {
  if (element == kRootElement) return kRootPath;
  if (is_implied(element)) return std::string(implied_path(element));
  return path(entry_number(element));
}

std::string_view StorageIndex::element_name(ElementId element) const {
  if (element == kRootElement) return last_component(kRootPath);
  if (is_implied(element)) return last_component(implied_path(element));
  return entry(entry_number(element)).name;
}

}  // namespace VRX::System::CFI
