#include "cfi/compound/mini_stream.h"

#include <algorithm>

#include "cfi/cfi_error_codes.h"
#include "support/byte_order.h"

namespace VRX::System::CFI {

using namespace compound;

namespace {

std::uint64_t mini_sectors_for(std::uint64_t size) {
  return (size + kMiniSectorSize - 1) >> kMiniSectorShift;
}

}  // namespace

MiniStream::MiniStream(SectorAllocationTable& table, std::uint32_t first_sector, std::uint64_t size)
    : table_(table),
      size_(size),
      chain_(table, first_sector, table.header().sectors_for(size)),
      mini_fat_(table, table.header().first_mini_fat_sector,
                table.header().sectors_for(kFatEntrySize * ((size >> kMiniSectorShift) + 1))) {}

bool MiniStream::holds(std::uint32_t mini_sector) const {
  return mini_sector <= kMaxRegularSector && std::uint64_t{mini_sector} << kMiniSectorShift < size_;
}

/// The link of a mini sector, as SectorAllocationTable::next gives it for a sector.
std::uint32_t MiniStream::next(std::uint32_t mini_sector) {
  const std::uint64_t position = kFatEntrySize * std::uint64_t{mini_sector};
  const CompoundHeader& header = table_.header();
  if (position >= mini_fat_.capacity()) {
    return mini_fat_.leaves_file() ? SectorAllocationTable::kLostSector : kFreeSector;
  }
  const std::uint32_t sector = mini_fat_.sector(position >> header.sector_shift);
  const auto at = static_cast<std::size_t>(position & (header.sector_size() - 1));
  const std::span<const unsigned char> bytes = table_.tables().sector(sector);
  if (bytes.size() < at + kFatEntrySize) return SectorAllocationTable::kLostSector;
  return support::load_little<std::uint32_t>(bytes.data() + at);
}

std::vector<std::uint32_t> MiniStream::follow(std::uint32_t first, std::uint64_t size) {
  chain_.require_no_circle("the mini stream");
  mini_fat_.require_no_circle("the mini FAT");
  std::optional<std::vector<std::uint32_t>> found = try_follow(first, size);
  if (!found) throw make_error(kDamagedCompoundFile, "the mini sector chain of a stream runs in a circle");
  return *std::move(found);
}

std::optional<std::vector<std::uint32_t>> MiniStream::try_follow(std::uint32_t first, std::uint64_t size) {
  if (chain_.runs_in_circle() || mini_fat_.runs_in_circle()) return std::nullopt;
  std::vector<std::uint32_t> found;
  const std::uint64_t wanted = mini_sectors_for(size);
  std::uint32_t sector = first;
  while (found.size() < wanted && holds(sector)) {
    found.push_back(sector);
    sector = next(sector);
    if (std::ranges::find(found, sector) != found.end()) return std::nullopt;
  }
  return found;
}

std::uint32_t MiniStream::mini_sector_count() const {
  const std::uint64_t count = mini_sectors_for(std::min(size_, chain_.capacity()));
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, kMaxRegularSector));
}

bool MiniStream::position_beyond_file(std::uint64_t position, std::uint64_t count) {
  if (position >= chain_.capacity()) return chain_.leaves_file();
  const CompoundHeader& header = table_.header();
  const std::uint64_t in_sector = position & (header.sector_size() - 1);
  const std::uint64_t offset = header.offset_of(chain_.sector(position >> header.sector_shift)) + in_sector;
  return offset + count > header.file_size;
}

bool MiniStream::reaches_beyond_file(std::uint32_t first, std::uint64_t size) {
  std::uint32_t sector = first;
  for (std::uint64_t done = 0; done < size; done += kMiniSectorSize) {
    if (sector == SectorAllocationTable::kLostSector) return true;
    if (!holds(sector)) return false;
    const std::uint64_t used = std::min<std::uint64_t>(kMiniSectorSize, size - done);
    if (position_beyond_file(std::uint64_t{sector} << kMiniSectorShift, used)) return true;
    sector = next(sector);
  }
  return false;
}

std::size_t MiniStream::read_at(std::uint64_t position, void* destination, std::size_t count) const {
  if (position >= size_) return 0;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - position));
  return chain_.read_at(position, destination, count);
}

std::optional<std::uint64_t> MiniStream::file_offset(std::uint64_t position) const {
  if (position >= std::min(size_, chain_.capacity())) return std::nullopt;
  return chain_.place_of(position, 1).offset;
}

MiniStreamSource::MiniStreamSource(MiniStream& mini_stream, std::uint32_t first, std::uint64_t size)
    : ChainSource(mini_stream.channel()),
      mini_stream_(mini_stream),
      mini_sectors_(mini_stream.follow(first, size)) {
  set_size(size, mini_sectors_.size() << kMiniSectorShift);
}

std::size_t MiniStreamSource::read_at(std::uint64_t position, std::byte* destination, std::size_t count) {
  std::size_t total = 0;
  while (total < count) {
    const std::uint64_t at = position + total;
    const auto skipped = static_cast<std::size_t>(at & (kMiniSectorSize - 1));
    const std::uint64_t sector = mini_sectors_[static_cast<std::size_t>(at >> kMiniSectorShift)];
    const std::size_t asked = std::min(count - total, kMiniSectorSize - skipped);
    const std::size_t got =
        mini_stream_.read_at((sector << kMiniSectorShift) + skipped, destination + total, asked);
    total += got;
    if (got < asked) break;
  }
  return total;
}

std::optional<std::uint64_t> MiniStreamSource::file_offset(std::uint64_t position) const {
  if (position > size() || size() == 0) return std::nullopt;
  // The end lies behind the last byte.
  const std::uint64_t byte = position == size() ? position - 1 : position;
  const std::uint64_t sector = mini_sectors_[static_cast<std::size_t>(byte >> kMiniSectorShift)];
  const auto found = mini_stream_.file_offset((sector << kMiniSectorShift) + (byte & (kMiniSectorSize - 1)));
  if (!found) return std::nullopt;
  return *found + (position - byte);
}

std::uint64_t MiniStreamSource::contiguous(std::uint64_t position) const {
  const std::optional<std::uint64_t> start = file_offset(position);
  if (!start) return 0;
  std::uint64_t count = 0;
  while (position + count < size() && file_offset(position + count) == *start + count) {
    const std::uint64_t to_next = kMiniSectorSize - ((position + count) & (kMiniSectorSize - 1));
    count = std::min(count + to_next, size() - position);
  }
  return count;
}

}  // namespace VRX::System::CFI
