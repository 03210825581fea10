#include "tests/support/part_builder.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "tests/support/record_bytes.h"

namespace test_support {

namespace {

constexpr std::uint16_t kEntityChainWords = 481;
constexpr std::uint16_t kDirectoryWords = 4;
constexpr std::size_t kModeOffset = 18;
constexpr std::size_t kUnitsOffset = 406;

/// The two words of a directory position: block and byte below version 15.
std::pair<std::uint64_t, std::uint64_t> position_words(std::int16_t version, std::uint64_t position) {
  if (version < 15) return {position / 512, position % 512};
  return {position >> 16U, position & 0xFFFFU};
}

}  // namespace

PartBuilder& PartBuilder::add(PartitionPlan partition) {
  partitions_.push_back(std::move(partition));
  return *this;
}

PartBuilder& PartBuilder::word(std::size_t byte_offset, std::uint16_t value) {
  words_[byte_offset] = value;
  return *this;
}

PartBuilder& PartBuilder::text(std::size_t byte_offset, std::string_view bytes) {
  texts_[byte_offset] = bytes;
  return *this;
}

std::size_t PartBuilder::directories_start() const {
  const std::size_t chains = version < 15 ? 2 * (kEntityChainWords + 1) : 0;
  return 2 * (header_words + std::size_t{1}) + chains;
}

std::size_t PartBuilder::index_size() const {
  return has_index() ? 12 + partitions_.size() * (index_format == 1 ? 16 : 20) : 0;
}

std::vector<PartBuilder::Place> PartBuilder::places() const {
  std::vector<Place> at;
  std::uint64_t next = directories_start() + index_size();
  for (const PartitionPlan& partition : partitions_) {
    next += partition.gap;
    const std::uint64_t words = partition.directory_word_count.value_or(kDirectoryWords);
    const Place place = has_index() ? Place{next + partition.marker.size(), next + partition.marker.size()}
                                    : Place{next, next + 2 * (words + 1)};
    at.push_back(place);
    next = place.data + partition.bytes.size();
  }
  return at;
}

std::string PartBuilder::header(const std::vector<Place>& at) const {
  std::map<std::size_t, std::uint16_t> words = {{6, static_cast<std::uint16_t>(version)}};
  if (!has_index()) words[kModeOffset] = directory_mode;
  if (header_words == 269) words[kUnitsOffset] = static_cast<std::uint16_t>(units);
  if (!has_index() && at.size() > 1 && partitions_[0].type == 1) {
    const auto [first, second] = position_words(version, at[1].start);
    words[14] = static_cast<std::uint16_t>(first);
    words[16] = static_cast<std::uint16_t>(second);
  }
  for (const auto& [offset, value] : words_) words[offset] = value;
  RecordBytes out(order);
  out.u16(header_words);
  for (std::size_t i = 0; i < header_words; ++i) out.u16(words[2 * i]);
  std::string bytes = out.bytes();
  for (const auto& [offset, text] : texts_) bytes.replace(2 + offset, text.size(), text);
  if (version >= 15) return bytes;
  RecordBytes chains(order);
  chains.u16(kEntityChainWords).u16(1).raw(std::string(2 * (kEntityChainWords - std::size_t{1}), '\0'));
  return bytes + chains.bytes();
}

std::string PartBuilder::index(const std::vector<Place>& at) const {
  std::int32_t highest = 0;
  for (const PartitionPlan& partition : partitions_) highest = std::max(highest, partition.id);
  RecordBytes out(order);
  out.u32(field(index_format));
  out.u32(field(partition_count.value_or(static_cast<std::int32_t>(partitions_.size()))));
  out.u32(field(next_partition_id.value_or(highest + 1)));
  for (std::size_t i = 0; i < partitions_.size(); ++i) {
    const PartitionPlan& partition = partitions_[i];
    const std::uint64_t offset = partition.listed_offset.value_or(at[i].start);
    out.u32(field(partition.id)).u32(field(partition.type));
    if (index_format == 1) {
      out.u32(offset);
    } else {
      out.u64(offset);
    }
    out.u32(field(partition.data));
  }
  return out.bytes();
}

std::string PartBuilder::directory(std::size_t number, const std::vector<Place>& at) const {
  const PartitionPlan& partition = partitions_[number];
  const bool first_of_mode = partition.type == 1;
  const std::uint64_t following = number + 1 < at.size() && !first_of_mode ? at[number + 1].start : 0;
  const auto [first, second] = position_words(version, partition.next_directory.value_or(following));
  const std::uint16_t count = partition.directory_word_count.value_or(kDirectoryWords);
  const std::uint64_t words[] = {field(partition.type), first, second};
  RecordBytes out(order);
  out.u16(count);
  for (std::size_t i = 0; i + 1 < count; ++i) out.u16(i < std::size(words) ? words[i] : 0);
  if (count > 0) out.u16(field(partition.data));
  return out.bytes();
}

std::string PartBuilder::build() const {
  const std::vector<Place> at = places();
  std::string bytes = header(at);
  if (has_index()) bytes += index(at);
  for (std::size_t i = 0; i < partitions_.size(); ++i) {
    const PartitionPlan& partition = partitions_[i];
    bytes.append(partition.gap, '\0');
    bytes += has_index() ? partition.marker : directory(i, at);
    bytes += partition.bytes;
  }
  return bytes + tail;
}

std::uint64_t PartBuilder::data_offset(std::size_t partition_number) const {
  return places().at(partition_number).data;
}

}  // namespace test_support
