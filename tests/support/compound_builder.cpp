#include "tests/support/compound_builder.h"

#include <algorithm>

#include "cfi/compound/compound_file_format.h"
#include "cfi/compound/element_name.h"
#include "cfi/storage_file.h"

namespace test_support {

using namespace VRX::System::CFI::compound;

namespace {

constexpr std::uint32_t kFatMark = 0xFFFFFFFD;
constexpr std::uint32_t kDifatMark = 0xFFFFFFFC;

void append_little(std::string& out, unsigned width, std::uint64_t value) {
  for (unsigned i = 0; i < width; ++i) out += static_cast<char>(value >> (8 * i));
}

std::size_t divide_up(std::size_t count, std::size_t unit) { return (count + unit - 1) / unit; }

}  // namespace

CompoundBuilder::CompoundBuilder(std::uint32_t sector_size) : sector_size_(sector_size) {
  elements_.push_back({.name = u"Root Entry", .type = kRootObject});
}

std::uint32_t CompoundBuilder::add(std::uint32_t parent, Element element) {
  const auto number = static_cast<std::uint32_t>(elements_.size());
  elements_.push_back(std::move(element));
  elements_[parent].children.push_back(number);
  return number;
}

std::uint32_t CompoundBuilder::add_storage(std::uint32_t parent, std::u16string name) {
  return add(parent, {.name = std::move(name), .type = kStorageObject});
}

std::uint32_t CompoundBuilder::add_stream(std::uint32_t parent, std::u16string name, std::string content) {
  return add(parent, {.name = std::move(name), .type = kStreamObject, .content = std::move(content)});
}

std::size_t CompoundBuilder::entry_offset(std::uint32_t element) const {
  const std::size_t per_sector = sector_size_ / entry::kSize;
  return sector_offset(directory_sectors_[element / per_sector]) + entry::kSize * (element % per_sector);
}

std::size_t CompoundBuilder::fat_entry_offset(std::uint32_t sector) const {
  const std::size_t per_sector = sector_size_ / kFatEntrySize;
  return sector_offset(fat_sectors_[sector / per_sector]) + kFatEntrySize * (sector % per_sector);
}

std::size_t CompoundBuilder::mini_fat_entry_offset(std::uint32_t mini_sector) const {
  const std::size_t per_sector = sector_size_ / kFatEntrySize;
  return sector_offset(mini_fat_sectors_[mini_sector / per_sector]) +
         kFatEntrySize * (mini_sector % per_sector);
}

void CompoundBuilder::put(std::size_t offset, unsigned width, std::uint64_t value) {
  std::string little;
  append_little(little, width, value);
  bytes_.replace(offset, width, little);
}

void CompoundBuilder::move_last_sector_to_end(std::uint32_t element) {
  std::vector<std::uint32_t>& sectors = elements_[element].sectors;
  const auto target = static_cast<std::uint32_t>(bytes_.size() / sector_size_ - 1);
  bytes_ += bytes_.substr(sector_offset(sectors.back()), sector_size_);
  const bool first = sectors.size() == 1;
  put(first ? entry_offset(element) + entry::kFirstSector : fat_entry_offset(sectors[sectors.size() - 2]), 4,
      target);
  put(fat_entry_offset(target), 4, kEndOfChain);
  sectors.back() = target;
}

std::uint32_t CompoundBuilder::link_balanced(const std::vector<std::uint32_t>& children, std::size_t first,
                                             std::size_t last) {
  if (first == last) return kFreeSector;
  const std::size_t middle = first + (last - first) / 2;
  Element& top = elements_[children[middle]];
  top.left = link_balanced(children, first, middle);
  top.right = link_balanced(children, middle + 1, last);
  return children[middle];
}

std::uint32_t CompoundBuilder::link_siblings(const std::vector<std::uint32_t>& children) {
  std::vector<std::uint32_t> sorted = children;
  const auto by_name = [this](std::uint32_t left, std::uint32_t right) {
    return VRX::System::CFI::compare_element_names(elements_[left].name, elements_[right].name) < 0;
  };
  if (siblings_ != Siblings::list_as_added) std::ranges::sort(sorted, by_name);
  if (sorted.empty() || siblings_ == Siblings::balanced) return link_balanced(sorted, 0, sorted.size());
  const bool to_the_left = siblings_ == Siblings::list_to_the_left;
  if (to_the_left) std::ranges::reverse(sorted);
  for (std::size_t i = 0; i + 1 < sorted.size(); ++i) {
    (to_the_left ? elements_[sorted[i]].left : elements_[sorted[i]].right) = sorted[i + 1];
  }
  return sorted.front();
}

/// Appends sectors for `content` and chains them.
std::vector<std::uint32_t> CompoundBuilder::store(std::string_view content) {
  std::vector<std::uint32_t> sectors(divide_up(content.size(), sector_size_));
  const auto first = static_cast<std::uint32_t>(fat_.size());
  for (std::uint32_t i = 0; i < sectors.size(); ++i) sectors[i] = first + i;
  if (fragmented_) std::ranges::reverse(sectors);
  fat_.resize(fat_.size() + sectors.size(), kEndOfChain);
  bytes_.resize(sector_offset(first) + sectors.size() * sector_size_);
  for (std::size_t i = 0; i < sectors.size(); ++i) {
    if (i + 1 < sectors.size()) fat_[sectors[i]] = sectors[i + 1];
    const std::string_view piece = content.substr(i * sector_size_, sector_size_);
    bytes_.replace(sector_offset(sectors[i]), piece.size(), piece);
  }
  return sectors;
}

void CompoundBuilder::store_mini_streams() {
  std::string mini_stream;
  std::string mini_fat;
  for (Element& element : elements_) {
    if (element.content.empty() || element.content.size() >= kMiniStreamCutoff) continue;
    const std::size_t count = divide_up(element.content.size(), kMiniSectorSize);
    for (std::size_t i = 0; i < count; ++i) {
      const auto number = static_cast<std::uint32_t>(mini_fat.size() / kFatEntrySize);
      element.sectors.push_back(number);
      append_little(mini_fat, kFatEntrySize, i + 1 < count ? number + 1 : kEndOfChain);
    }
    mini_stream += element.content;
    mini_stream.resize(mini_fat.size() / kFatEntrySize * kMiniSectorSize);
  }
  elements_[0].sectors = store(mini_stream);
  elements_[0].content = std::move(mini_stream);
  mini_fat.resize(divide_up(mini_fat.size(), sector_size_) * sector_size_, '\xFF');
  mini_fat_sectors_ = store(mini_fat);
}

std::string CompoundBuilder::directory_bytes() const {
  std::string out;
  for (const Element& element : elements_) {
    const std::size_t start = out.size();
    for (const char16_t unit : element.name) append_little(out, 2, unit);
    out.resize(start + entry::kNameLength);
    append_little(out, 2, 2 * element.name.size() + 2);
    append_little(out, 1, element.type);
    append_little(out, 1, 1);
    append_little(out, 4, element.left);
    append_little(out, 4, element.right);
    append_little(out, 4, element.child);
    out.append(element.class_id.begin(), element.class_id.end());
    out.resize(start + entry::kFirstSector);
    append_little(out, 4, element.sectors.empty() ? kEndOfChain : element.sectors.front());
    append_little(out, 8, element.content.size());
  }
  out.resize(divide_up(out.size(), sector_size_) * sector_size_);
  return out;
}

void CompoundBuilder::store_tables() {
  const std::size_t per_sector = sector_size_ / kFatEntrySize;
  std::size_t fat_count = 0;
  std::size_t difat_count = 0;
  while (fat_count * per_sector < fat_.size() + fat_count + difat_count) {
    ++fat_count;
    difat_count =
        fat_count <= header::kDifatEntries ? 0 : divide_up(fat_count - header::kDifatEntries, per_sector - 1);
  }
  const auto reserve = [this](std::vector<std::uint32_t>& sectors, std::size_t count, std::uint32_t mark) {
    for (std::size_t i = 0; i < count; ++i) {
      sectors.push_back(static_cast<std::uint32_t>(fat_.size()));
      fat_.push_back(mark);
    }
  };
  reserve(difat_sectors_, difat_count, kDifatMark);
  reserve(fat_sectors_, fat_count, kFatMark);
  bytes_.resize(sector_offset(static_cast<std::uint32_t>(fat_.size())), '\xFF');
  for (std::uint32_t i = 0; i < fat_.size(); ++i) put(fat_entry_offset(i), 4, fat_[i]);
  for (std::size_t i = 0; i < fat_count; ++i) {
    const std::size_t listed = i - header::kDifatEntries;
    const std::size_t offset =
        i < header::kDifatEntries
            ? header::kDifat + 4 * i
            : sector_offset(difat_sectors_[listed / (per_sector - 1)]) + 4 * (listed % (per_sector - 1));
    put(offset, 4, fat_sectors_[i]);
  }
  for (std::size_t i = 0; i < difat_count; ++i) {
    const std::size_t link = sector_offset(difat_sectors_[i]) + sector_size_ - 4;
    put(link, 4, i + 1 < difat_count ? difat_sectors_[i + 1] : kEndOfChain);
  }
}

void CompoundBuilder::write_header() {
  const bool large = sector_size_ == 4096;
  const auto first_of = [](const std::vector<std::uint32_t>& sectors) {
    return sectors.empty() ? kEndOfChain : sectors.front();
  };
  bytes_.replace(0, VRX::System::CFI::kSignatureSize, VRX::System::CFI::kMicrosoftSignature);
  put(header::kMajorVersion, 2, large ? 4 : 3);
  put(header::kByteOrder, 2, kByteOrderMark);
  put(header::kSectorShift, 2, large ? 12 : 9);
  put(header::kMiniSectorShift, 2, kMiniSectorShift);
  put(header::kDirectorySectorCount, 4, large ? directory_sectors_.size() : 0);
  put(header::kFatSectorCount, 4, fat_sectors_.size());
  put(header::kFirstDirectorySector, 4, first_of(directory_sectors_));
  put(header::kMiniStreamCutoff, 4, kMiniStreamCutoff);
  put(header::kFirstMiniFatSector, 4, first_of(mini_fat_sectors_));
  put(header::kMiniFatSectorCount, 4, mini_fat_sectors_.size());
  put(header::kFirstDifatSector, 4, first_of(difat_sectors_));
  put(header::kDifatSectorCount, 4, difat_sectors_.size());
}

void CompoundBuilder::compose() {
  bytes_.assign(sector_size_, '\0');
  std::fill_n(bytes_.begin() + header::kDifat, 4 * header::kDifatEntries, '\xFF');
  for (Element& element : elements_) {
    element.child = link_siblings(element.children);
  }
  store_mini_streams();
  directory_sectors_ =
      store(std::string(divide_up(entry::kSize * elements_.size(), sector_size_) * sector_size_, '\0'));
  for (Element& element : elements_) {
    if (element.content.size() >= kMiniStreamCutoff && element.type == kStreamObject) {
      element.sectors = store(element.content);
    }
  }
  const std::string directory = directory_bytes();
  for (std::size_t i = 0; i < directory_sectors_.size(); ++i) {
    bytes_.replace(sector_offset(directory_sectors_[i]), sector_size_, directory, i * sector_size_,
                   sector_size_);
  }
  store_tables();
  write_header();
}

}  // namespace test_support
