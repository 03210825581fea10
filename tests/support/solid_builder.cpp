#include "tests/support/solid_builder.h"

#include <zlib.h>

#include <stdexcept>

#include "tests/support/record_bytes.h"

namespace test_support {

namespace {

constexpr std::uint32_t kCompressedBit = 1U << 31U;
constexpr std::uint32_t kExtensionBit = 1U << 30U;
constexpr std::uint32_t kWideDeltaBit = 1U << 29U;

bool has_wide_sizes(const SolidPlan& plan) { return plan.wide || (plan.extended && plan.ext_version == 5); }

std::string stored_bytes(const SolidPlan& plan, const SolidBlock& block) {
  if (block.stored) return *block.stored;
  return plan.compressed ? deflated(block.data) : block.data;
}

std::string stored_block(const SolidPlan& plan, const SolidBlock& block) {
  std::string stored = stored_bytes(plan, block);
  if (!plan.compressed || !block.trailer) return stored;
  RecordBytes trailer(std::endian::big);
  for (const std::uint64_t value : {block.saved_plain_checksum.value_or(adler_of(block.data)),
                                    block.saved_size.value_or(block.data.size()),
                                    block.saved_stored_checksum.value_or(adler_of(stored))}) {
    if (has_wide_sizes(plan)) {
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

void put_lists(RecordBytes& out, const SolidPlan& plan) {
  out.u32(field(plan.list_count.value_or(static_cast<std::int32_t>(plan.listed.size()))));
  put_array(out, plan.listed);
  put_array(out, plan.listed);
}

void put_references(RecordBytes& out, const SolidPlan& plan) {
  out.u8(plan.reference_kind);
  if (plan.ext_version >= 3) {
    out.u32(field(plan.skip_count.value_or(static_cast<std::int32_t>(plan.skipped.size()))));
    put_array(out, plan.skipped);
  }
  if (plan.reference_kind != 0) {
    out.u32(field(plan.reference_target));
  } else {
    put_lists(out, plan);
  }
}

void put_extension(RecordBytes& out, const SolidPlan& plan, std::uint64_t rest, std::uint64_t second) {
  out.u32(field(plan.body_tag)).u16(plan.ext_version);
  if (plan.ext_version < 1 || plan.ext_version > 5) return;
  if (plan.ext_version == 4) out.u32(second);
  if (plan.ext_version == 5) out.u64(rest).u64(second);
  out.u8(1).u8(0).u32(field(plan.linked_partition_id));
  if (plan.ext_version >= 2) put_references(out, plan);
}

}  // namespace

std::string solid_partition(const SolidPlan& plan) {
  const std::uint64_t rest = plan.rest_size.value_or(stored_bytes(plan, plan.block).size());
  const std::uint64_t second =
      plan.second_size.value_or(plan.second ? stored_bytes(plan, *plan.second).size() : 0);
  std::uint32_t bits = plan.header_size.value_or(static_cast<std::uint32_t>(plan.header_text.size()));
  if (plan.compressed) bits |= kCompressedBit;
  if (plan.extended) bits |= kExtensionBit;
  if (plan.wide) bits |= kWideDeltaBit;
  RecordBytes out(plan.order);
  out.u32(bits).u32(rest);
  if (plan.wide) {
    out.u64(rest);
  } else if (plan.extended) {
    put_extension(out, plan, rest, second);
  }
  out.raw(plan.header_text).raw(stored_block(plan, plan.block));
  if (plan.second) out.raw(stored_block(plan, *plan.second));
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
