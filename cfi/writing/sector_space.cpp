#include "cfi/writing/sector_space.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

#include "cfi/cfi_error_codes.h"
#include "cfi/compound/compound_file_format.h"

namespace VRX::System::CFI {

namespace {

constexpr std::uint64_t kLockOffset = 0x7FFFFF00;
constexpr std::uint64_t kLongestVersion3 = std::uint64_t{1} << 31;

void append_run(std::vector<SectorRun>& runs, SectorRun run) {
  if (run.count == 0) return;
  if (!runs.empty() && runs.back().first + runs.back().count == run.first) {
    runs.back().count += run.count;
  } else {
    runs.push_back(run);
  }
}

}  // namespace

SectorSpace::SectorSpace(FileChannel& file, unsigned version) : file_(file), version_(version) {}

std::uint32_t SectorSpace::lock_sector() const {
  return static_cast<std::uint32_t>((kLockOffset >> shift()) - 1);
}

std::uint64_t SectorSpace::count_with(std::uint64_t more) const {
  const std::uint64_t end = count_ + more;
  return count_ <= lock_sector() && end > lock_sector() ? end + 1 : end;
}

void SectorSpace::require_room(std::uint64_t more) const {
  const bool is_possible = more <= compound::kMaxRegularSector;
  const std::uint64_t end = is_possible ? count_with(more) : 0;
  if (version_ == 3 && (!is_possible || offset_of(end) > kLongestVersion3)) {
    throw make_error(kUnsupportedOperation, "a compound file of version 3 that is longer than 2 GiB");
  }
  if (!is_possible || end > compound::kMaxRegularSector) {
    throw make_error(kUnsupportedOperation, "a compound file of version 4 that is longer than 16 TiB");
  }
}

void SectorSpace::append(std::uint64_t sectors, std::vector<SectorRun>& runs) {
  require_room(sectors);
  while (sectors > 0) {
    if (count_ == lock_sector()) ++count_;
    const std::uint64_t to_lock = count_ < lock_sector() ? lock_sector() - count_ : sectors;
    const auto piece = static_cast<std::uint32_t>(std::min(sectors, to_lock));
    append_run(runs, {count_, piece});
    count_ += piece;
    sectors -= piece;
  }
}

void SectorSpace::allocate(std::uint64_t sectors, std::vector<SectorRun>& runs) {
  std::uint64_t free = 0;
  for (const SectorRun& run : free_) free += run.count;
  if (sectors > free) require_room(sectors - free);
  while (sectors > 0 && !free_.empty()) {
    SectorRun& run = free_.back();
    const auto piece = static_cast<std::uint32_t>(std::min<std::uint64_t>(sectors, run.count));
    append_run(runs, {run.first, piece});
    run.first += piece;
    run.count -= piece;
    sectors -= piece;
    if (run.count == 0) free_.pop_back();
  }
  append(sectors, runs);
}

void SectorSpace::give_back(SectorRun run) {
  if (run.count == 0) return;
  if (run.first + run.count == count_) {
    if (file_.size() > offset_of(run.first)) file_.set_size(offset_of(run.first));
    count_ = run.first;
    return;
  }
  static constexpr std::array<std::byte, 4096> kZeros = {};
  const std::uint64_t end = std::min(offset_of(std::uint64_t{run.first} + run.count), file_.size());
  for (std::uint64_t at = offset_of(run.first); at < end;) {
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(kZeros.size(), end - at));
    if (file_.write_at(at, kZeros.data(), piece) != piece) throw system_call_failed(ENOSPC);
    at += piece;
  }
  free_.push_back(run);
}

}  // namespace VRX::System::CFI
