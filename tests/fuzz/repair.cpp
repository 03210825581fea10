#include <xxhash.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "cfi/compound/compound_file_format.h"
#include "cfi/kvpm/kvpm_format.h"
#include "cfi/storage_file.h"
#include "support/byte_order.h"
#include "support/limits.h"
#include "tests/fuzz/fuzz_targets.h"

namespace fuzz {

using namespace VRX::System::CFI;
using support::store_little;

namespace {

using Bytes = std::span<unsigned char>;

constexpr std::size_t kCountSize = 4;
constexpr std::size_t kEntryFieldsSize = 16;
constexpr std::size_t kPartHeaderLengthSize = 2;

template <typename Integer>
Integer load(Bytes bytes, std::size_t at) {
  return support::load_little<Integer>(bytes.data() + at);
}

bool holds(Bytes bytes, std::size_t at, std::size_t count) {
  return at <= bytes.size() && count <= bytes.size() - at;
}

void put(Bytes bytes, std::size_t at, std::string_view text) {
  if (holds(bytes, at, text.size())) std::memcpy(bytes.data() + at, text.data(), text.size());
}

/// Where the entries end; the count becomes that of the entries that are whole.
std::size_t repair_entries(Bytes file, std::size_t count_at) {
  const auto count = load<std::uint32_t>(file, count_at);
  std::size_t at = count_at + kCountSize;
  std::uint32_t whole = 0;
  for (; whole < count && holds(file, at, kCountSize); ++whole) {
    const std::size_t size = kCountSize + std::size_t{load<std::uint32_t>(file, at)} + kEntryFieldsSize;
    if (!holds(file, at, size)) break;
    at += size;
  }
  store_little(file.data() + count_at, whole);
  return at;
}

/// Where the part header behind the entries ends; a length that is none, or leaves the file, becomes 0.
std::size_t repair_part_header(Bytes file, std::size_t at) {
  if (!holds(file, at, kPartHeaderLengthSize)) return at;
  const auto length = std::size_t{load<std::uint16_t>(file, at)};
  const std::size_t start = at + kPartHeaderLengthSize;
  if (length <= limits::kPartHeaderUnits && holds(file, start, 2 * length)) return start + 2 * length;
  store_little<std::uint16_t>(file.data() + at, 0);
  return start;
}

void repair_index(Bytes file, std::size_t start, int version, IndexArea area) {
  std::size_t at = start;
  if (version >= kFirstVersionWithIndexSignature) {
    put(file, at, index_signature(area));
    at += kIndexSignatureSize;
  }
  if (!holds(file, at, kCountSize)) return;
  at = repair_entries(file, at);
  if (area == IndexArea::header && version >= kFirstVersionWithPartHeader) at = repair_part_header(file, at);
  if (version < kFirstVersionWithChecksum || !holds(file, at, sizeof(std::uint32_t))) return;
  store_little(file.data() + at, std::uint32_t{XXH32(file.data() + start, at - start, 0)});
}

}  // namespace

void repair_kvpm_container(Bytes file) {
  put(file, 0, kKvpmSignature);
  if (!holds(file, kVersionOffset, 1)) return;
  file[kVersionOffset] = static_cast<unsigned char>(file[kVersionOffset] % (kCurrentVersion + 1));
  const int version = file[kVersionOffset];
  const auto header = static_cast<std::size_t>(header_index_offset(version));
  if (!holds(file, 0, header)) return;
  const auto footer = load<std::uint64_t>(file, header - sizeof(std::uint64_t));
  // The header index last: when the two overlap, it is the one that is read first.
  if (footer < file.size()) repair_index(file, static_cast<std::size_t>(footer), version, IndexArea::footer);
  repair_index(file, header, version, IndexArea::header);
}

void repair_compound_file(Bytes file) {
  namespace header = compound::header;
  if (!holds(file, 0, header::kSize)) return;
  put(file, 0, kMicrosoftSignature);
  const bool newer = load<std::uint16_t>(file, header::kMajorVersion) == 4;
  store_little<std::uint16_t>(file.data() + header::kMajorVersion, newer ? 4 : 3);
  store_little<std::uint16_t>(file.data() + header::kSectorShift, newer ? 12 : 9);
  store_little<std::uint16_t>(file.data() + header::kByteOrder, compound::kByteOrderMark);
  store_little<std::uint16_t>(file.data() + header::kMiniSectorShift, compound::kMiniSectorShift);
  store_little<std::uint32_t>(file.data() + header::kMiniStreamCutoff, compound::kMiniStreamCutoff);
}

void repair_file(Bytes file) {
  if (!holds(file, 0, kSignatureSize)) return;
  const auto resembles = [&](std::string_view signature) {
    return std::ranges::count_if(signature, [&, i = 0U](char c) mutable {
             return static_cast<unsigned char>(c) == file[i++];
           }) >= static_cast<std::ptrdiff_t>(kSignatureSize / 2);
  };
  if (resembles(kKvpmSignature)) repair_kvpm_container(file);
  if (resembles(kMicrosoftSignature)) repair_compound_file(file);
}

void repair_driver(Bytes input) {
  if (!input.empty()) repair_file(input.subspan(1));
}

}  // namespace fuzz
