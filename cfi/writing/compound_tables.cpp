#include "cfi/writing/compound_tables.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <string>

#include "cfi/cfi_error_codes.h"
#include "cfi/compound/compound_file_format.h"
#include "cfi/writing/index_writer.h"
#include "support/part_signature.h"

namespace VRX::System::CFI {

namespace {

using namespace compound;

constexpr std::uint32_t kFatSector = 0xFFFFFFFD;
constexpr std::uint32_t kDifatSector = 0xFFFFFFFC;
constexpr std::uint32_t kNoElement = 0xFFFFFFFF;
constexpr std::uint16_t kMinorVersion = 0x3E;
constexpr char kRed = 0;
constexpr char kBlack = 1;

/// What an entry says of its place among its siblings.
struct Links {
  std::uint32_t left = kNoElement;
  std::uint32_t right = kNoElement;
  std::uint32_t child = kNoElement;
  char colour = kBlack;
};

/// Where the bytes of an element begin, and how many they are.
struct Extent {
  std::uint32_t first = 0;
  std::uint64_t size = 0;
};

std::uint32_t first_of(const std::vector<SectorRun>& runs) {
  return runs.empty() ? kEndOfChain : runs.front().first;
}

/// Writes the tables one after another, the FAT last, which holds the chains of them all.
class TableWriter {
 public:
  TableWriter(SectorSpace& space, std::span<const DirectoryItem> items)
      : space_(space), items_(items), links_(items.size()), extents_(items.size()) {}
  void write();

 private:
  std::vector<SectorRun> store(SectorStream& stream, std::string bytes, char filler);
  void write_mini_stream();
  std::uint32_t link_siblings(std::span<const std::uint32_t> children, unsigned depth);
  std::string directory_entry(std::size_t number) const;
  void write_directory();
  void write_allocation_tables();
  std::vector<std::uint32_t> allocation_table() const;
  void chain(std::vector<std::uint32_t>& table, const std::vector<SectorRun>& runs) const;
  void put(const std::vector<std::uint32_t>& entries, const std::vector<SectorRun>& runs);
  void put_difat(const std::vector<std::uint32_t>& fat_sectors,
                 const std::vector<std::uint32_t>& difat_sectors);
  void write_header(const std::vector<std::uint32_t>& fat_sectors);
  void write_at(std::uint64_t offset, std::string_view bytes);
  std::uint32_t entries_per_sector() const {
    return static_cast<std::uint32_t>(space_.sector_size() / kFatEntrySize);
  }

  SectorSpace& space_;
  std::span<const DirectoryItem> items_;
  std::vector<Links> links_;
  std::vector<Extent> extents_;
  std::vector<SectorRun> mini_stream_;
  std::vector<SectorRun> mini_fat_;
  std::vector<SectorRun> directory_;
  std::vector<SectorRun> fat_;
  std::vector<SectorRun> difat_;
};

std::uint64_t sectors_in(const std::vector<SectorRun>& runs) {
  std::uint64_t count = 0;
  for (const SectorRun& run : runs) count += run.count;
  return count;
}

std::vector<std::uint32_t> numbers_of(const std::vector<SectorRun>& runs) {
  std::vector<std::uint32_t> numbers;
  for (const SectorRun& run : runs) {
    for (std::uint32_t i = 0; i < run.count; ++i) numbers.push_back(run.first + i);
  }
  return numbers;
}

void TableWriter::write_at(std::uint64_t offset, std::string_view bytes) {
  if (space_.file().write_at(offset, bytes.data(), bytes.size()) != bytes.size()) {
    throw system_call_failed(ENOSPC);
  }
}

// The last sector is filled up.
std::vector<SectorRun> TableWriter::store(SectorStream& stream, std::string bytes, char filler) {
  const std::uint64_t sectors = space_.sectors_for(bytes.size());
  bytes.append(static_cast<std::size_t>(sectors << space_.shift()) - bytes.size(), filler);
  if (stream.write(bytes.data(), bytes.size()) != bytes.size()) throw system_call_failed(ENOSPC);
  return stream.runs();
}

void TableWriter::write_mini_stream() {
  constexpr std::size_t kPieceBytes = std::size_t{1} << 20;
  SectorStream stream(space_, 0);
  std::string piece;
  std::string mini_fat;
  std::uint32_t next = 0;
  for (std::size_t i = 0; i < items_.size(); ++i) {
    const SectorStream* const content = items_[i].stream;
    if (content == nullptr) continue;
    extents_[i] = {content->size() == 0 ? kEndOfChain : next, content->size()};
    if (!content->is_in_memory()) extents_[i].first = first_of(content->runs());
    if (!content->is_in_memory() || content->size() == 0) continue;
    piece += content->bytes();
    piece.resize((piece.size() + kMiniSectorSize - 1) / kMiniSectorSize * kMiniSectorSize);
    const auto end =
        next + static_cast<std::uint32_t>((content->size() + kMiniSectorSize - 1) / kMiniSectorSize);
    while (++next < end) append_little(mini_fat, next);
    append_little(mini_fat, kEndOfChain);
    if (piece.size() < kPieceBytes) continue;
    if (stream.write(piece.data(), piece.size()) != piece.size()) throw system_call_failed(ENOSPC);
    piece.clear();
  }
  extents_[0].size = stream.size() + piece.size();
  mini_stream_ = store(stream, std::move(piece), '\0');
  extents_[0].first = first_of(mini_stream_);
  SectorStream table(space_, 0);
  mini_fat_ = store(table, std::move(mini_fat), '\xFF');
}

// The middle one on top, so that only the lowest level can lack elements. With that level red and all others
// black, every way down meets as many black ones.
std::uint32_t TableWriter::link_siblings(std::span<const std::uint32_t> children, unsigned depth) {
  if (children.empty()) return kNoElement;
  const std::size_t middle = children.size() / 2;
  Links& top = links_[children[middle]];
  top.left = link_siblings(children.first(middle), depth - 1);
  top.right = link_siblings(children.subspan(middle + 1), depth - 1);
  top.colour = depth == 0 ? kRed : kBlack;
  return children[middle];
}

std::string TableWriter::directory_entry(std::size_t number) const {
  const DirectoryItem& item = items_[number];
  const Links& links = links_[number];
  std::string bytes;
  for (const char16_t unit : item.name) append_little(bytes, static_cast<std::uint16_t>(unit));
  bytes.resize(entry::kNameLength);
  append_little(bytes, static_cast<std::uint16_t>(2 * (item.name.size() + 1)));
  const unsigned char storage_type = number == 0 ? kRootObject : kStorageObject;
  bytes += static_cast<char>(item.stream != nullptr ? kStreamObject : storage_type);
  bytes += links.colour;
  append_little(bytes, links.left);
  append_little(bytes, links.right);
  append_little(bytes, links.child);
  append_little(bytes, item.class_id.data1);
  append_little(bytes, item.class_id.data2);
  append_little(bytes, item.class_id.data3);
  for (const std::uint8_t byte : item.class_id.data4) append_little(bytes, byte);
  bytes.resize(entry::kFirstSector);
  append_little(bytes, extents_[number].first);
  append_little(bytes, extents_[number].size);
  return bytes;
}

void TableWriter::write_directory() {
  for (std::size_t i = 0; i < items_.size(); ++i) {
    const std::vector<std::uint32_t>& children = items_[i].children;
    if (children.empty()) continue;
    // The depth below a top of the lowest level that any tree of so many has; a full one has no red level.
    const auto levels = static_cast<unsigned>(std::bit_width(children.size()));
    const bool is_full = std::has_single_bit(children.size() + 1);
    links_[i].child = link_siblings(children, is_full ? levels : levels - 1);
  }
  std::string bytes;
  for (std::size_t i = 0; i < items_.size(); ++i) bytes += directory_entry(i);
  std::string unused(entry::kSize, '\0');
  std::fill_n(unused.begin() + entry::kLeftSibling, entry::kClassId - entry::kLeftSibling, '\xFF');
  while (bytes.size() % space_.sector_size() != 0) bytes += unused;
  SectorStream stream(space_, 0);
  directory_ = store(stream, std::move(bytes), '\0');
}

void TableWriter::chain(std::vector<std::uint32_t>& table, const std::vector<SectorRun>& runs) const {
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const SectorRun& run = runs[i];
    for (std::uint32_t k = 0; k + 1 < run.count; ++k) table[run.first + k] = run.first + k + 1;
    table[run.first + run.count - 1] = i + 1 < runs.size() ? runs[i + 1].first : kEndOfChain;
  }
}

std::vector<std::uint32_t> TableWriter::allocation_table() const {
  std::vector<std::uint32_t> table(sectors_in(fat_) * entries_per_sector(), kFreeSector);
  for (const DirectoryItem& item : items_) {
    if (item.stream != nullptr && !item.stream->is_in_memory()) chain(table, item.stream->runs());
  }
  for (const auto* runs : {&mini_stream_, &mini_fat_, &directory_}) chain(table, *runs);
  for (const std::uint32_t sector : numbers_of(fat_)) table[sector] = kFatSector;
  for (const std::uint32_t sector : numbers_of(difat_)) table[sector] = kDifatSector;
  if (space_.lock_sector() < space_.count()) table[space_.lock_sector()] = kEndOfChain;
  return table;
}

void TableWriter::put(const std::vector<std::uint32_t>& entries, const std::vector<SectorRun>& runs) {
  std::size_t next = 0;
  for (const std::uint32_t sector : numbers_of(runs)) {
    std::string bytes;
    for (std::uint32_t i = 0; i < entries_per_sector(); ++i) append_little(bytes, entries[next++]);
    write_at(space_.offset_of(sector), bytes);
  }
}

void TableWriter::put_difat(const std::vector<std::uint32_t>& fat_sectors,
                            const std::vector<std::uint32_t>& difat_sectors) {
  std::vector<std::uint32_t> entries;
  std::size_t next = header::kDifatEntries;
  for (std::size_t i = 0; i < difat_sectors.size(); ++i) {
    for (std::uint32_t k = 0; k + 1 < entries_per_sector(); ++k, ++next) {
      entries.push_back(next < fat_sectors.size() ? fat_sectors[next] : kFreeSector);
    }
    entries.push_back(i + 1 < difat_sectors.size() ? difat_sectors[i + 1] : kEndOfChain);
  }
  put(entries, difat_);
}

// The FAT has entries for its own sectors, and for those that list it.
void TableWriter::write_allocation_tables() {
  std::uint64_t fat = 0;
  std::uint64_t difat = 0;
  for (bool grew = true; grew;) {
    const std::uint64_t wanted =
        (space_.count_with(fat + difat) + entries_per_sector() - 1) / entries_per_sector();
    const std::uint64_t listed = wanted > header::kDifatEntries ? wanted - header::kDifatEntries : 0;
    const std::uint64_t listing = (listed + entries_per_sector() - 2) / (entries_per_sector() - 1);
    grew = wanted > fat || listing > difat;
    fat = std::max(fat, wanted);
    difat = std::max(difat, listing);
  }
  space_.append(fat, fat_);
  space_.append(difat, difat_);
  put(allocation_table(), fat_);
  const std::vector<std::uint32_t> fat_sectors = numbers_of(fat_);
  put_difat(fat_sectors, numbers_of(difat_));
  write_header(fat_sectors);
}

void TableWriter::write_header(const std::vector<std::uint32_t>& fat_sectors) {
  const bool is_version_3 = space_.version() == 3;
  std::string bytes(support::kMicrosoftSignature);
  bytes.resize(header::kMajorVersion - sizeof kMinorVersion);
  append_little(bytes, kMinorVersion);
  append_little(bytes, static_cast<std::uint16_t>(space_.version()));
  append_little(bytes, static_cast<std::uint16_t>(kByteOrderMark));
  append_little(bytes, static_cast<std::uint16_t>(space_.shift()));
  append_little(bytes, static_cast<std::uint16_t>(kMiniSectorShift));
  bytes.resize(header::kDirectorySectorCount);
  const auto append_count = [&](std::uint64_t count) {
    append_little(bytes, static_cast<std::uint32_t>(count));
  };
  append_count(is_version_3 ? 0 : sectors_in(directory_));
  append_count(fat_sectors.size());
  append_little(bytes, first_of(directory_));
  append_count(0);  // no transactions
  append_little(bytes, kMiniStreamCutoff);
  append_little(bytes, first_of(mini_fat_));
  append_count(sectors_in(mini_fat_));
  append_little(bytes, first_of(difat_));
  append_count(sectors_in(difat_));
  for (std::size_t i = 0; i < header::kDifatEntries; ++i) {
    append_little(bytes, i < fat_sectors.size() ? fat_sectors[i] : kFreeSector);
  }
  write_at(0, bytes);
}

void TableWriter::write() {
  write_mini_stream();
  write_directory();
  write_allocation_tables();
  space_.file().set_size(space_.offset_of(space_.count()));
}

}  // namespace

void write_compound_tables(SectorSpace& space, std::span<const DirectoryItem> items) {
  TableWriter(space, items).write();
}

}  // namespace VRX::System::CFI
