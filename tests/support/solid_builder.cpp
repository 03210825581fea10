#include "tests/support/solid_builder.h"

#include <zlib.h>

#include <stdexcept>

#include "tests/support/record_bytes.h"

namespace test_support {

namespace {

constexpr std::uint32_t kCompressedBit = 1U << 31U;
constexpr std::uint32_t kExtensionBit = 1U << 30U;
constexpr std::uint32_t kWideDeltaBit = 1U << 29U;

bool has_wide_sizes(const SolidSpec& spec) { return spec.wide || (spec.extended && spec.ext_version == 5); }

std::string stored_bytes(const SolidSpec& spec, const SolidBlock& block) {
  if (block.stored) return *block.stored;
  return spec.compressed ? deflated(block.data) : block.data;
}

std::string stored_block(const SolidSpec& spec, const SolidBlock& block) {
  std::string stored = stored_bytes(spec, block);
  if (!spec.compressed || !block.trailer) return stored;
  RecordBytes trailer(std::endian::big);
  for (const std::uint64_t value : {block.saved_plain_checksum.value_or(adler_of(block.data)),
                                    block.saved_size.value_or(block.data.size()),
                                    block.saved_stored_checksum.value_or(adler_of(stored))}) {
    if (has_wide_sizes(spec)) {
      trailer.u64(value);
    } else {
      trailer.u32(value);
    }
  }
  return stored + trailer.bytes() + std::string(stored.size() % 2, '\0');
}

void put_array(RecordBytes& out, const std::vector<std::int32_t>& values) {
  for (const std::int32_t value : values) out.u32(field(value));
}

void put_lists(RecordBytes& out, const SolidSpec& spec) {
  out.u32(field(spec.list_count.value_or(static_cast<std::int32_t>(spec.listed.size()))));
  put_array(out, spec.listed);
  put_array(out, spec.listed);
}

void put_references(RecordBytes& out, const SolidSpec& spec) {
  out.u8(spec.reference_kind);
  if (spec.ext_version >= 3) {
    out.u32(field(spec.skip_count.value_or(static_cast<std::int32_t>(spec.skipped.size()))));
    put_array(out, spec.skipped);
  }
  if (spec.reference_kind != 0) {
    out.u32(field(spec.reference_target));
  } else {
    put_lists(out, spec);
  }
}

void put_extension(RecordBytes& out, const SolidSpec& spec, std::uint64_t rest, std::uint64_t second) {
  out.u32(field(spec.body_tag)).u16(spec.ext_version);
  if (spec.ext_version < 1 || spec.ext_version > 5) return;
  if (spec.ext_version == 4) out.u32(second);
  if (spec.ext_version == 5) out.u64(rest).u64(second);
  out.u8(1).u8(0).u32(field(spec.linked_partition_id));
  if (spec.ext_version >= 2) put_references(out, spec);
}

}  // namespace

std::string solid_partition(const SolidSpec& spec) {
  const std::uint64_t rest = spec.rest_size.value_or(stored_bytes(spec, spec.block).size());
  const std::uint64_t second =
      spec.second_size.value_or(spec.second ? stored_bytes(spec, *spec.second).size() : 0);
  std::uint32_t bits = spec.header_size.value_or(static_cast<std::uint32_t>(spec.header_text.size()));
  if (spec.compressed) bits |= kCompressedBit;
  if (spec.extended) bits |= kExtensionBit;
  if (spec.wide) bits |= kWideDeltaBit;
  RecordBytes out(spec.order);
  out.u32(bits).u32(rest);
  if (spec.wide) {
    out.u64(rest);
  } else if (spec.extended) {
    put_extension(out, spec, rest, second);
  }
  out.raw(spec.header_text).raw(stored_block(spec, spec.block));
  if (spec.second) out.raw(stored_block(spec, *spec.second));
  return out.bytes();
}

std::string deflated(std::string_view bytes) {
  uLongf size = compressBound(static_cast<uLong>(bytes.size()));
  std::string out(size, '\0');
  const auto* source = reinterpret_cast<const Bytef*>(bytes.data());
  auto* destination = reinterpret_cast<Bytef*>(out.data());
  if (compress2(destination, &size, source, static_cast<uLong>(bytes.size()), 6) != Z_OK) {
    throw std::runtime_error("deflate failed");
  }
  out.resize(size);
  return out;
}

std::uint32_t adler_of(std::string_view bytes) {
  return static_cast<std::uint32_t>(
      adler32(1, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

}  // namespace test_support
