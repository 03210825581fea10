#include "cfi/writing/sector_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "cfi/cfi_error_codes.h"

namespace VRX::System::CFI {

namespace {

bool is_all_zero(const char* bytes, std::size_t count) {
  return count == 0 || (bytes[0] == 0 && std::memcmp(bytes, bytes + 1, count - 1) == 0);
}

}  // namespace

SectorStream::Stretch SectorStream::stretch_at(std::uint64_t position) const {
  const std::uint64_t sector = position >> space_.shift();
  const auto behind = std::ranges::upper_bound(runs_, sector, {}, &PlacedRun::start);
  const PlacedRun& found = *std::prev(behind);
  const std::uint64_t skipped = position - (found.start << space_.shift());
  const std::uint64_t length = std::uint64_t{found.run.count} << space_.shift();
  return {space_.offset_of(found.run.first) + skipped, length - skipped};
}

// What was never written is not in the file yet, or a hole in it.
void SectorStream::read_sectors(std::uint64_t position, char* destination, std::size_t count) const {
  while (count > 0) {
    const Stretch stretch = stretch_at(position);
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(count, stretch.length));
    const std::size_t got = space_.file().read_at(stretch.offset, destination, piece);
    std::memset(destination + got, 0, piece - got);
    position += piece;
    destination += piece;
    count -= piece;
  }
}

std::size_t SectorStream::read(void* destination, std::size_t count) {
  if (position_ >= size_) return 0;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - position_));
  if (is_in_memory()) {
    small_.copy(static_cast<char*>(destination), count, static_cast<std::size_t>(position_));
  } else {
    read_sectors(position_, static_cast<char*>(destination), count);
  }
  position_ += count;
  return count;
}

std::size_t SectorStream::write_sectors(std::uint64_t position, const char* bytes, std::size_t count) {
  std::size_t total = 0;
  while (total < count) {
    const Stretch stretch = stretch_at(position + total);
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(count - total, stretch.length));
    std::size_t written = 0;
    try {
      written = space_.file().write_at(stretch.offset, bytes + total, piece);
    } catch (const support::ErrorEscape&) {
      if (total == 0) throw;
    }
    total += written;
    if (written < piece) break;
  }
  return total;
}

void SectorStream::reserve(std::uint64_t size) {
  const std::uint64_t wanted = space_.sectors_for(size);
  if (wanted <= sectors_) return;
  std::vector<SectorRun> added;
  space_.allocate(wanted - sectors_, added);
  for (const SectorRun& run : added) {
    if (!runs_.empty() && runs_.back().run.first + runs_.back().run.count == run.first) {
      runs_.back().run.count += run.count;
    } else {
      runs_.push_back({sectors_, run});
    }
    sectors_ += run.count;
  }
}

void SectorStream::move_to_sectors() {
  if (write_sectors(0, small_.data(), small_.size()) != small_.size()) throw system_call_failed(ENOSPC);
  small_.clear();
}

std::size_t SectorStream::write(const void* bytes, std::size_t count) {
  if (count == 0) return 0;
  const auto* text = static_cast<const char*>(bytes);
  if (count > INT64_MAX || position_ > INT64_MAX - count) throw system_call_failed(EFBIG);
  const std::uint64_t end = position_ + count;
  if (is_in_memory() && end < cutoff_) {
    if (small_.size() < end) small_.resize(static_cast<std::size_t>(end));
    std::memcpy(small_.data() + position_, bytes, count);
  } else {
    reserve(end);
    if (!small_.empty()) move_to_sectors();
    const bool is_hole = position_ >= size_ && is_all_zero(text, count);
    if (!is_hole) count = write_sectors(position_, text, count);
  }
  position_ += count;
  size_ = std::max(size_, position_);
  return count;
}

// The last sector is kept, and the rest of it is still to be zeros.
void SectorStream::clear_behind(std::uint64_t size) {
  const std::uint64_t rest = (sectors_ << space_.shift()) - size;
  if (rest == 0) return;
  const std::string zeros(static_cast<std::size_t>(rest), '\0');
  if (write_sectors(size, zeros.data(), zeros.size()) != zeros.size()) throw system_call_failed(ENOSPC);
}

void SectorStream::keep_sectors(std::uint64_t sectors) {
  while (sectors_ > sectors) {
    SectorRun& last = runs_.back().run;
    const auto piece = static_cast<std::uint32_t>(std::min<std::uint64_t>(last.count, sectors_ - sectors));
    last.count -= piece;
    const SectorRun dropped = {last.first + last.count, piece};
    if (last.count == 0) runs_.pop_back();
    sectors_ -= piece;
    space_.give_back(dropped);
  }
}

void SectorStream::truncate(std::uint64_t size) {
  if (size >= size_) return;
  if (is_in_memory()) {
    small_.resize(static_cast<std::size_t>(size));
  } else if (size < cutoff_) {
    std::string kept(static_cast<std::size_t>(size), '\0');
    read_sectors(0, kept.data(), kept.size());
    keep_sectors(0);
    small_ = std::move(kept);
  } else {
    keep_sectors(space_.sectors_for(size));
    clear_behind(size);
  }
  size_ = size;
}

std::vector<SectorRun> SectorStream::runs() const {
  std::vector<SectorRun> found;
  for (const PlacedRun& placed : runs_) found.push_back(placed.run);
  return found;
}

}  // namespace VRX::System::CFI
