#include "inspect/solid/brepsolid_header.h"

#include <array>
#include <bit>
#include <memory>

#include "inspect/records/inspect_errors.h"
#include "inspect/solid/header_keywords.h"
#include "inspect/solid/header_lender.h"
#include "support/limits.h"

namespace inspect {

namespace {

using ull = unsigned long long;

constexpr std::uint32_t kCompressedBit = 1U << 31U;
constexpr std::uint32_t kExtensionBit = 1U << 30U;
constexpr std::uint32_t kWideDeltaBit = 1U << 29U;
constexpr std::uint32_t kHeaderSizeMask = 0x3FFFFFFF;

constexpr std::uint16_t kReferenceBitVersion = 2;
constexpr std::uint16_t kReferenceKindVersion = 3;
constexpr std::uint16_t kSecondSizeVersion = 4;
constexpr std::uint16_t kWideSizesVersion = 5;

bool is_wide_delta(std::int32_t type, std::uint32_t word) {
  return type == kBrepsolidDelta && (word & kWideDeltaBit) != 0;
}

/// Steps over `count` values; a negative count stands for none.
void skip_ints(InspectFile& file, std::int32_t count, std::uint64_t arrays) {
  if (count <= 0) return;
  const std::uint64_t bytes = static_cast<std::uint64_t>(count) * 4 * arrays;
  const std::uint64_t position = file.reader.position();
  if (position > file.bytes_there() || bytes > file.bytes_there() - position) {
    inspect_error(file.reader, Rule::record_end_of_file, "unexpected end of file");
  }
  file.reader.move_to(position + bytes);
}

void read_reference(InspectFile& file, BrepsolidHeaderBits& bits) {
  file.reader.read(bits.reference_kind, "Brepsolid reference kind");
  if (bits.ext_version == kReferenceBitVersion) bits.reference_kind &= kReference;
  if (bits.ext_version >= kReferenceKindVersion) {
    file.reader.read(bits.skip_count, "Brepsolid skip count");
    skip_ints(file, bits.skip_count, 1);
  }
  if (bits.reference_kind != 0) {
    file.reader.read(bits.reference_target, "Brepsolid reference target");
    return;
  }
  file.reader.read(bits.list_count, "Brepsolid list count");
  skip_ints(file, bits.list_count, 2);
}

void read_extension_sizes(InspectFile& file, BrepsolidHeaderBits& bits) {
  if (bits.ext_version == kSecondSizeVersion) {
    std::uint32_t second = 0;
    file.reader.read(second, "Brepsolid second data size");
    bits.second_size = second;
  }
  if (bits.ext_version == kWideSizesVersion) {
    file.reader.read(bits.rest_size, "Brepsolid data size");
    file.reader.read(bits.second_size, "Brepsolid second data size");
    bits.wide_sizes = true;
  }
}

void read_extension(InspectFile& file, BrepsolidHeaderBits& bits) {
  file.reader.read(bits.body_tag, "Brepsolid body tag");
  file.reader.read(bits.ext_version, "Brepsolid extension version");
  if (bits.ext_version < 1 || bits.ext_version > kWideSizesVersion) return;
  read_extension_sizes(file, bits);
  std::array<std::uint8_t, 2> flags = {};
  file.reader.read(std::span(flags), "Brepsolid extension flags");
  bits.flag_a = flags[0] != 0;
  bits.flag_b = flags[1] != 0;
  file.reader.read(bits.linked_partition_id, "Brepsolid linked partition");
  if (bits.ext_version >= kReferenceBitVersion) read_reference(file, bits);
}

std::uint32_t derived_flags(const BrepsolidHeaderBits& bits) {
  std::uint32_t flags = 0;
  if (bits.list_count != 0) {
    flags = kHasListFlag;
  } else if (bits.skip_count != 0) {
    flags = kHasSkippedFlag;
  } else if (bits.reference_target != 0) {
    flags = kReferenceFlag;
  }
  return bits.reference_kind == kPseudoReference ? flags | kPseudoReferenceFlag : flags;
}

/// Reads the header text at the stream's position and notes its place. What is in front of a closing '+'
/// belongs to the text, the '+' does not.
std::string take_header_text(InspectFile& file, BrepsolidPartition& solid, std::uint32_t size) {
  if (size > limits::kBrepsolidHeaderBytes) {
    inspect_error(file.reader, Rule::solid_header_size, "Bad value %d for Brepsolid header size",
                  static_cast<std::int32_t>(size));
  }
  solid.header_position = file.reader.position();
  std::string text(size, '\0');
  if (size > 0) file.reader.read(std::span(text), "Brepsolid header");
  if (text.ends_with('+')) text.pop_back();
  solid.header_length = static_cast<std::uint32_t>(text.size());
  return text;
}

/// The text that the file's lender has, or none. Leaves the stream at the borrower's data.
std::string borrow_header_text(InspectFile& file, const PartitionEntry& borrower, SolidSink& sink) {
  BrepsolidPartition& solid = *borrower.solid;
  const PartitionEntry* lender = find_header_lender(file).entry;
  if (lender == nullptr) {
    sink.take_missing_header(borrower);
    return {};
  }
  file.reader.move_to(lender->base);
  const BrepsolidHeaderBits bits = read_header_bits(file, lender->type);
  std::string text = take_header_text(file, solid, bits.header_size);
  file.reader.move_to(solid.data_position);
  return text;
}

/// The version of the file is that of its last partition, whichever is read last.
void keep_version(InspectFile& file, const PartitionEntry& entry, const std::string& text) {
  if (file.version_source && *file.version_source > entry.number) return;
  file.version_source = entry.number;
  file.records.kernel_version = kernel_version_of(text);
}

/// The test leaves out the header on purpose: a shorter overrun shows when the data are read.
void mark_truncation(InspectFile& file, PartitionEntry& entry, const BrepsolidHeaderBits& bits) {
  const std::uint64_t left = file.records.length > entry.base ? file.records.length - entry.base : 0;
  if (entry.truncated || bits.rest_size <= left) return;
  entry.truncated = true;
  support::Finding finding;
  finding.rule = Rule::solid_truncated;
  finding.place = file.reader.place(entry.base, left);
  finding.place.partition = entry.id;
  finding.place.field = "data";
  finding.found.push_back({"length", left});
  finding.expected.push_back({"length", bits.rest_size});
  report_finding(file, std::move(finding), "**** Brepsolid partition id %d is truncated - size %llu\n",
                 entry.id, static_cast<ull>(bits.rest_size));
}

}  // namespace

std::uint32_t header_text_size(std::int32_t type, std::uint32_t first_word) {
  const std::uint32_t size = first_word & kHeaderSizeMask;
  return is_wide_delta(type, first_word) ? size & ~kWideDeltaBit : size;
}

BrepsolidHeaderBits read_header_bits(InspectFile& file, std::int32_t type) {
  std::array<std::uint8_t, 8> bytes = {};
  file.reader.read(std::span(bytes), "Reading bits of the Brepsolid partition header");
  auto words = std::bit_cast<std::array<std::uint32_t, 2>>(bytes);
  file.reader.convert(std::span(words));
  BrepsolidHeaderBits bits;
  bits.compressed = (words[0] & kCompressedBit) != 0;
  bits.has_extension = (words[0] & kExtensionBit) != 0;
  bits.header_size = header_text_size(type, words[0]);
  bits.rest_size = words[1];
  if (is_wide_delta(type, words[0])) {
    bits.has_extension = false;
    file.reader.read(bits.rest_size, "Brepsolid data size");
    bits.wide_sizes = true;
  } else if (bits.has_extension) {
    read_extension(file, bits);
  }
  return bits;
}

void read_brepsolid_partition(InspectFile& file, PartitionEntry& entry) {
  if (file.reader.position() != entry.base) file.reader.move_to(entry.base);
  auto solid = std::make_unique<BrepsolidPartition>();
  solid->bits = read_header_bits(file, entry.type);
  const BrepsolidHeaderBits& bits = solid->bits;
  if (Trace* trace = file.reader.trace()) {
    trace->print("Size of BS header = %d, size of rest of file = %llu\n",
                 static_cast<std::int32_t>(bits.header_size), static_cast<ull>(bits.rest_size));
  }
  solid->header_saved_here = bits.header_size > 0;
  solid->data_position = file.reader.position() + bits.header_size;
  solid->flags = derived_flags(bits);
  if (solid->header_saved_here) {
    keep_version(file, entry, take_header_text(file, *solid, bits.header_size));
    mark_truncation(file, entry, bits);
  }
  entry.solid = std::move(solid);
}

void borrow_brepsolid_header(InspectFile& file, PartitionEntry& entry, SolidSink& sink) {
  keep_version(file, entry, borrow_header_text(file, entry, sink));
  mark_truncation(file, entry, entry.solid->bits);
}

std::string read_header_text(InspectFile& file, const BrepsolidPartition& solid) {
  std::string text(solid.header_length, '\0');
  if (text.empty()) return text;
  file.reader.move_to(solid.header_position);
  file.reader.read(std::span(text), "Brepsolid header");
  return text;
}

}  // namespace inspect
