#include "inspect/records/object_manager_checksum.h"

#include <gtest/gtest.h>

#include "tests/support/part_builder.h"
#include "tests/support/part_session.h"
#include "tests/support/record_bytes.h"
#include "tests/support/solid_builder.h"

namespace {

using test_support::RecordBytes;

struct Case {
  bool carries, sound, wide = false;
  std::uint32_t mode = 4096, checksum_change = 0;
  std::optional<std::int32_t> length = std::nullopt;
};

std::string object_partition(std::endian order, const Case& plan) {
  const std::string data =
      RecordBytes(order).raw("OMxxxxx").u32(5).u32(plan.mode).raw(std::string(20'000, 'o')).bytes();
  RecordBytes checksums(std::endian::big);
  checksums.u32(test_support::adler_of(data) + plan.checksum_change).u32(1).u32(2);
  const std::string all = data + checksums.bytes();
  RecordBytes out(order);
  if (plan.wide) return out.u32(0xFFFFFFFF).u64(all.size()).raw(all).bytes();
  const auto length = static_cast<std::int32_t>(all.size());
  return out.u32(test_support::field(plan.length.value_or(length))).raw(all).bytes();
}

TEST(ObjectManagerChecksum, IsThatOfTheBytesBehindTheLength) {
  const Case cases[] = {{.carries = true, .sound = true},
                        {.carries = true, .sound = true, .wide = true},
                        {.carries = true, .sound = false, .checksum_change = 1},
                        {.carries = true, .sound = false, .wide = true, .checksum_change = 1},
                        {.carries = false, .sound = true, .mode = 4, .checksum_change = 1},
                        {.carries = true, .sound = false, .length = 11},
                        {.carries = true, .sound = false, .length = -2}};
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    for (const Case& c : cases) {
      test_support::PartBuilder part;
      part.order = order;
      part.add({.id = 8, .type = 7, .bytes = object_partition(order, c)});
      test_support::PartSession session(part.build());
      const std::uint64_t before = session.read().file().stream->position();
      session.run([&](auto& file) { check_object_manager_checksum(file, session.entry(0)); });
      EXPECT_EQ(session.file().records.has_om_checksums, c.carries);
      EXPECT_EQ(session.output().err.find("**** Partition id 8 has invalid check sum\n") == std::string::npos,
                c.sound);
      EXPECT_EQ(session.verdict().failed(), !c.sound);
      EXPECT_EQ(session.file().stream->position(), before);
    }
  }
}

}  // namespace
