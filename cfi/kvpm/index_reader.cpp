#include "cfi/kvpm/index_reader.h"

#include <cstring>
#include <string>

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "support/limits.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

support::ErrorEscape damaged_index(std::string text) { return {"cfi", kDamagedIndex, std::move(text)}; }

/// Both fields of a stream, or the class identifier of a storage.
constexpr std::size_t kFieldsSize = 16;

void read_signature(FileContainer& in, IndexArea area) {
  char signature[kIndexSignatureSize];
  in.read_text(signature, sizeof signature, "index signature");
  if (std::memcmp(signature, index_signature(area), sizeof signature) == 0) return;
  throw make_error(kInternalFailure, area == IndexArea::header ? "wrong signature of the header index"
                                                               : "wrong signature of the footer index");
}

std::int32_t read_count(FileContainer& in, IndexFacts& facts) {
  const std::int32_t count = in.read_int32("element count");
  facts.elements = count;
  if (count < 0) throw damaged_index("Number of index entries should not be negative");
  if (static_cast<std::uint64_t>(count) > in.bytes_left() / kSmallestEntrySize)
    throw make_error(kEndOfStream);
  return count;
}

// The path where it lies in the window, when the fields behind it do too; else at the end of the index's
// block of records, which need not hold a long path twice.
std::string_view read_path(FileContainer& in, StorageIndex& index) {
  const std::int32_t length = in.read_int32("element path length");
  if (length < 1 || length > limits::kPathBytes) throw make_error(kNameTooLong, length);
  const auto size = static_cast<std::size_t>(length);
  in.require(size);
  if (in.holds(size + kFieldsSize)) return in.take_text(size, "element path");
  char* path = index.extend_records(size);
  in.read_text(path, size, "element path");
  return {path, size};
}

std::uint64_t read_stream_field(FileContainer& in, const char* label) {
  const std::int64_t value = in.read_int64(label);
  if (value < 0) throw damaged_index(support::format_text("%s should not be negative", label));
  return static_cast<std::uint64_t>(value);
}

std::array<std::uint64_t, 2> read_class_id(FileContainer& in) {
  const auto data1 = static_cast<std::uint32_t>(in.read_int32("element class.Data1"));
  const auto data2 = static_cast<std::uint16_t>(in.read_int16("element class.Data2"));
  const auto data3 = static_cast<std::uint16_t>(in.read_int16("element class.Data3"));
  const auto data4 = static_cast<std::uint64_t>(in.read_int64("element class.Data4"));
  return {data1 | std::uint64_t{data2} << 32U | std::uint64_t{data3} << 48U, data4};
}

void read_entry(FileContainer& in, StorageIndex& index) {
  const std::string_view path = read_path(in, index);
  if (path.ends_with('/')) {
    index.add(path, ElementType::storage, read_class_id(in));
    return;
  }
  const std::uint64_t offset = read_stream_field(in, "element offset");
  const std::uint64_t size = read_stream_field(in, "element size");
  index.add(path, ElementType::stream, {offset, size});
}

void read_part_header(FileContainer& in, std::vector<std::byte>& part_header) {
  const int length = in.read_int16("part file header length");
  if (length < 0 || length > limits::kPartHeaderUnits) {
    throw damaged_index(support::format_text("Header Length %d is not sane", length));
  }
  part_header.resize(2 * static_cast<std::size_t>(length));
  in.read_bytes(part_header.data(), part_header.size(), "part file header");
}

void read_checksum(FileContainer& in, IndexFacts& facts) {
  facts.xxh32_computed = in.digest();
  facts.xxh32_stored = static_cast<std::uint32_t>(in.read_int32("index checksum"));
}

/// Notes how long an index turned out to be, whatever ended the reading of it.
class LengthNote {
 public:
  LengthNote(const FileContainer& in, IndexFacts& facts) : in_(in), facts_(facts) {}
  ~LengthNote() { facts_.length = in_.position() - facts_.offset; }
  LengthNote(const LengthNote&) = delete;
  LengthNote& operator=(const LengthNote&) = delete;

 private:
  const FileContainer& in_;
  IndexFacts& facts_;
};

}  // namespace

void read_fixed_header(FileContainer& in, KvpmFacts& facts) {
  const int version = in.read_byte("file format version");
  facts.format_version = version;
  if (version > kCurrentVersion) {
    throw make_error(kVersionTooNew, static_cast<unsigned>(version), unsigned{kCurrentVersion});
  }
  if (version >= kFirstVersionWithFastLoadEnd) {
    facts.fast_load_end = in.read_int64("end fast load data offset");
  }
  facts.footer_offset = in.read_int64("start footer offset");
}

void read_index(FileContainer& in, IndexArea area, KvpmFacts& facts, StorageIndex& index,
                std::vector<std::byte>& part_header) {
  const int version = facts.format_version.value();
  IndexFacts& found = (area == IndexArea::header ? facts.header_index : facts.footer_index).emplace();
  found.offset = in.position();
  const LengthNote note(in, found);
  if (version >= kFirstVersionWithChecksum) in.start_digest();
  if (version >= kFirstVersionWithIndexSignature) read_signature(in, area);
  for (std::int32_t count = read_count(in, found); count > 0; --count) read_entry(in, index);
  if (area == IndexArea::header && version >= kFirstVersionWithPartHeader) {
    read_part_header(in, part_header);
    facts.part_header_copy = {in.position() - part_header.size(), part_header.size()};
  }
  if (version >= kFirstVersionWithChecksum) read_checksum(in, found);
  found.is_whole = true;
  if (found.xxh32_computed != found.xxh32_stored) {
    throw make_error(kIndexChecksumMismatch, *found.xxh32_computed, *found.xxh32_stored);
  }
  // Only now: a path that a flipped bit made ill-formed is named as what it is, a wrong checksum.
  if (index.broken_path()) check_path(*index.broken_path());
}

}  // namespace VRX::System::CFI
