#include "cfi/compound/compound_header.h"

#include <algorithm>

#include "cfi/cfi_error_codes.h"
#include "support/byte_order.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

using namespace compound;
using HeaderBytes = std::array<unsigned char, header::kSize>;

std::uint16_t word_at(const HeaderBytes& bytes, std::size_t offset) {
  return support::load_little<std::uint16_t>(bytes.data() + offset);
}

std::uint32_t long_at(const HeaderBytes& bytes, std::size_t offset) {
  return support::load_little<std::uint32_t>(bytes.data() + offset);
}

void check_sector_size(unsigned version, unsigned shift) {
  if ((version == 3 || version == 4) && (shift == 9 || shift == 12)) return;
  const std::string text = support::format_text(
      "sector size of 2 to the power %u in a compound file of version %u", shift, version);
  throw make_error(kInternalFailure, text);
}

void check_field(const char* name, unsigned found, unsigned wanted) {
  if (found == wanted) return;
  const std::string text = support::format_text("%s is %u, not %u", name, found, wanted);
  throw make_error(kDamagedCompoundFile, text);
}

std::uint32_t count_sectors(std::uint64_t file_size, unsigned shift) {
  const std::uint64_t size = std::uint64_t{1} << shift;
  if (file_size <= size) return 0;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>((file_size - 1) >> shift, kMaxRegularSector));
}

bool any_count_above(const HeaderBytes& bytes, std::uint32_t sectors) {
  constexpr std::size_t kCounts[] = {header::kDirectorySectorCount, header::kFatSectorCount,
                                     header::kMiniFatSectorCount, header::kDifatSectorCount};
  return std::ranges::any_of(kCounts, [&](std::size_t offset) { return long_at(bytes, offset) > sectors; });
}

}  // namespace

CompoundHeader read_compound_header(FileChannel& channel) {
  HeaderBytes bytes = {};
  if (channel.read_at(0, bytes.data(), bytes.size()) != bytes.size()) {
    throw make_error(kDamagedCompoundFile, "the file ends inside its header");
  }
  CompoundHeader result;
  result.major_version = word_at(bytes, header::kMajorVersion);
  result.sector_shift = word_at(bytes, header::kSectorShift);
  check_sector_size(result.major_version, result.sector_shift);
  check_field("byte order mark", word_at(bytes, header::kByteOrder), kByteOrderMark);
  check_field("mini sector shift", word_at(bytes, header::kMiniSectorShift), kMiniSectorShift);
  check_field("mini stream cutoff", long_at(bytes, header::kMiniStreamCutoff), kMiniStreamCutoff);
  result.first_directory_sector = long_at(bytes, header::kFirstDirectorySector);
  result.first_mini_fat_sector = long_at(bytes, header::kFirstMiniFatSector);
  result.first_difat_sector = long_at(bytes, header::kFirstDifatSector);
  result.mini_fat_sector_count = long_at(bytes, header::kMiniFatSectorCount);
  result.difat_sector_count = long_at(bytes, header::kDifatSectorCount);
  for (std::size_t i = 0; i < header::kDifatEntries; ++i) {
    result.difat[i] = long_at(bytes, header::kDifat + kFatEntrySize * i);
  }
  result.file_size = channel.size();
  result.sector_count = count_sectors(result.file_size, result.sector_shift);
  result.counts_beyond_file = any_count_above(bytes, result.sector_count);
  return result;
}

}  // namespace VRX::System::CFI
