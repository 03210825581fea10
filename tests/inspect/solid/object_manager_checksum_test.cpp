#include "inspect/solid/object_manager_checksum.h"

#include <gtest/gtest.h>

#include <optional>

#include "tests/support/part_builder.h"
#include "tests/support/part_session.h"
#include "tests/support/record_bytes.h"
#include "tests/support/solid_builder.h"

namespace {

using test_support::PartSession;
using test_support::RecordBytes;

struct ObjectData {
  bool wide = false;
  std::uint32_t mode = 4096;
  std::uint32_t checksum_change = 0;
  std::optional<std::int32_t> length = std::nullopt;
};

std::string object_partition(std::endian order, const ObjectData& plan) {
  const std::string data =
      RecordBytes(order).raw("OMxxxxx").u32(5).u32(plan.mode).raw(std::string(20'000, 'o')).bytes();
  RecordBytes checksums(std::endian::big);
  checksums.u32(test_support::adler_of(data) + plan.checksum_change).u32(1).u32(2);
  const std::string all = data + checksums.bytes();
  RecordBytes out(order);
  if (plan.wide) {
    out.u32(0xFFFFFFFF).u64(all.size());
  } else {
    out.u32(test_support::field(plan.length.value_or(static_cast<std::int32_t>(all.size()))));
  }
  return out.raw(all).bytes();
}

TEST(ObjectManagerChecksum, IsThatOfTheBytesBehindTheLength) {
  struct Case {
    ObjectData plan;
    bool carries = false;
    bool sound = false;
  };
  const Case cases[] = {
      {{}, true, true},
      {{.wide = true}, true, true},
      {{.checksum_change = 1}, true, false},
      {{.wide = true, .checksum_change = 1}, true, false},
      {{.mode = 4, .checksum_change = 1}, false, true},
      {{.length = 11}, true, false},
      {{.length = -2}, true, false},
  };
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    for (const Case& one : cases) {
      test_support::PartBuilder part;
      part.order = order;
      part.add({.id = 8, .type = 7, .bytes = object_partition(order, one.plan)});
      PartSession session(part.build());
      session.read();
      const std::uint64_t before = session.file().stream->position();
      session.run([](auto& file) { check_object_manager_checksum(file, file.partitions[0], false); });
      EXPECT_EQ(session.file().has_om_checksums, one.carries);
      EXPECT_EQ(session.output().err.find("**** Partition id 8 has invalid check sum\n") == std::string::npos,
                one.sound);
      EXPECT_EQ(session.file().failed, !one.sound);
      EXPECT_EQ(session.file().stream->position(), before);
    }
  }
}

}  // namespace
