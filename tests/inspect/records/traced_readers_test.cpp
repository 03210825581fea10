#include "inspect/records/traced_readers.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <string>

#include "support/error_escape.h"
#include "tests/support/captured.h"
#include "tests/support/part_reading.h"
#include "tests/support/record_bytes.h"

namespace {

using inspect::PartitionEntry;
using inspect::StringTyping;
using support::ErrorEscape;
using test_support::PartReading;

std::string message_of(auto action) {
  std::string message = "no escape";
  test_support::captured([&] {
    try {
      action();
    } catch (const ErrorEscape& escape) {
      message = escape.message();
    }
  });
  return message;
}

std::string output_of(auto action) { return test_support::captured(action).out; }

PartitionEntry compact_partition() {
  PartitionEntry partition;
  partition.compact = true;
  return partition;
}

TEST(CompactReaders, Integers) {
  struct Case {
    std::string bytes;
    std::int32_t value;
  };
  const Case cases[] = {
      {std::string("\x00", 1), -1},
      {"\x01", 0},
      {"\x7F", 126},
      {"\x80\x05", 5},
      {"\x9F\xFF", -1},
      {std::string("\x90\x00", 2), -4096},
      {"\xA0\x12\x34", 0x1234},
      {"\xBF\xFF\xFE", -2},
      {"\xC0\x12\x34\x56", 0x123456},
      {"\xE0\x12\x34\x56\x78", 0x12345678},
      {std::string("\xFF\x80\x00\x00\x00", 5), std::int32_t{-0x7FFFFFFF} - 1},
  };
  const PartitionEntry partition = compact_partition();
  for (const Case& c : cases) {
    PartReading reading(c.bytes);
    EXPECT_EQ(inspect::read_compact_int(false, reading.file, partition, "value"), c.value);
    EXPECT_EQ(reading.file.stream->position(), c.bytes.size());
  }
}

TEST(CompactReaders, ShortsAreCutToSixteenBits) {
  struct Case {
    std::string bytes;
    std::int32_t value;
  };
  const Case cases[] = {
      {std::string("\x00", 1), -1},
      {"\x7F", 126},
      {"\x81\x02", 0x102},
      {"\xBF\xFF", -1},
      {std::string("\xC0\x80\x00", 3), -32768},
      {"\xFF\x12\x34", 0x1234},
  };
  const PartitionEntry partition = compact_partition();
  for (const Case& c : cases) {
    PartReading reading(c.bytes);
    EXPECT_EQ(inspect::read_compact_short(false, reading.file, partition, "value"), c.value);
  }
}

TEST(CompactReaders, Labels) {
  struct Case {
    std::string bytes;
    std::int32_t value;
    std::size_t used;
  };
  const Case cases[] = {
      {"\x05", 42, 1},
      {"\xFE", -2, 1},
      {"\xFF", -1, 1},
      {"\xF1zz", 42, 3},
      {"\xF3zzzz", 42, 5},
      {"\x8A\x01", 0xA01, 2},
      {"\xB1\x02\x03\x04\x05", 0x02030405, 5},
  };
  for (const Case& c : cases) {
    PartReading reading(c.bytes + "rest");
    EXPECT_EQ(inspect::read_compact_om_label(reading.file), c.value);
    EXPECT_EQ(reading.file.stream->position(), c.used);
  }
  for (const char* bad : {"\xC3", "\xEF", "\xF4", "\xFD"}) {
    PartReading reading(bad);
    EXPECT_EQ(message_of([&] { inspect::read_compact_om_label(reading.file); }), "bad compact OM label");
    EXPECT_TRUE(reading.file.failed);
  }
}

TEST(TracedReaders, ConvertTheByteOrderAndSayWhatTheyRead) {
  PartReading reading(std::string("\x01\x02\x01\x02\x03\x04\x01\x02\x03\x04\x05\x06\x07\x08", 14));
  reading.file.swap_bytes = std::endian::native == std::endian::little;
  std::int16_t word = 0;
  std::int32_t number = 0;
  std::uint64_t position = 0;
  const std::string trace = output_of([&] {
    inspect::read_shorts(true, reading.file, 1, &word, "Word %d", 7);
    inspect::read_ints(true, reading.file, 1, &number, "Number");
    inspect::read_position(true, reading.file, true, position, "Place");
    inspect::read_bytes(true, reading.file, 0, nullptr, "Nothing");
    inspect::move_to(true, reading.file, 3);
  });
  EXPECT_EQ(word, 0x0102);
  EXPECT_EQ(number, 0x01020304);
  EXPECT_EQ(position, 0x0102030405060708U);
  EXPECT_EQ(trace,
            "Reading Word 7: 1 shorts @0\nConverting 1 shorts\nData in: 0102 ... out: 0201\n"
            "Reading Number: 1 ints @2\nData in:  01020304 ... out: 04030201\n"
            "Reading Place: 1 int64s @6\nData in:  0102030405060708 ... out: 0807060504030201\n"
            "Reading Nothing: 0 bytes @14 \nMove to 3\n");
}

TEST(TracedReaders, AShortReadEndsTheFile) {
  PartReading reading("abc");
  std::int32_t number = 0;
  EXPECT_EQ(message_of([&] { inspect::read_ints(false, reading.file, 1, &number, "Number"); }),
            "unexpected end of file");
  EXPECT_TRUE(reading.file.failed);
}

TEST(OmStrings, ComeInThreeKinds) {
  PartitionEntry partition = compact_partition();
  partition.shared_strings = {std::string("first"), std::nullopt};
  const auto read = [&](std::string bytes, StringTyping typing) {
    PartReading reading(std::move(bytes));
    return inspect::read_om_string(false, reading.file, typing, partition, "text");
  };
  EXPECT_EQ(read("\x04"
                 "abc",
                 StringTyping::plain),
            "abc");
  EXPECT_EQ(read("\x03\x04"
                 "abc",
                 StringTyping::vla_typed),
            "abc");
  EXPECT_EQ(read("\x05\x01", StringTyping::vla_typed), "first");
  EXPECT_EQ(read("\x05\x02", StringTyping::vla_typed), std::nullopt);
  EXPECT_EQ(read(std::string("\0", 1), StringTyping::vla_typed), std::nullopt);
  EXPECT_EQ(read("\xA0\x7D" + std::string(1, '\0') + std::string(32000, 'x'), StringTyping::plain)->size(),
            32000U);
}

TEST(OmStrings, BadOnesEndTheFile) {
  PartitionEntry partition = compact_partition();
  partition.shared_strings = {std::string("first")};
  struct Case {
    std::string bytes;
    StringTyping typing;
    const char* message;
  };
  const Case cases[] = {
      {"\xA0\x7D\x01" + std::string(32001, 'x'), StringTyping::plain, "Bad value 32001 for length of string"},
      {std::string("\0", 1), StringTyping::plain, "Bad value -1 for length of string"},
      {"\x05\x02", StringTyping::vla_typed, "Bad shared string table index: 1"},
      {std::string("\x05\0", 2), StringTyping::vla_typed, "Bad shared string table index: -1"},
      {"\x1F", StringTyping::vla_typed, "String object begins with a 1f instead of 0, 3 or 5\n"},
      {"\x04"
       "ab",
       StringTyping::plain, "unexpected end of file"},
  };
  for (const Case& c : cases) {
    PartReading reading(c.bytes);
    EXPECT_EQ(message_of([&] { inspect::read_om_string(false, reading.file, c.typing, partition, "text"); }),
              c.message);
  }
}

TEST(ObjectPositions, CountFromBehindTheLengthField) {
  PartReading reading(std::string(8, '\0') + std::string("\x05\0\0\0\x09\0\0\0", 8) + std::string(64, '\0'));
  reading.file.swap_bytes = std::endian::native == std::endian::big;
  PartitionEntry partition;
  partition.base = 16;
  partition.object_table_offset = 8;
  inspect::seek_object(reading.file, partition, 1, false);
  EXPECT_EQ(reading.file.stream->position(), 16U + 4 + 9);
  partition.om_file_length_byte_size = 12;
  inspect::seek_object(reading.file, partition, 0, false);
  EXPECT_EQ(reading.file.stream->position(), 16U + 12 + 5);
}

TEST(ObjectPositions, BeyondAnyFileAreNamedAsTheyStand) {
  struct Case {
    std::uint64_t table;
    std::int32_t index;
    std::uint64_t stored;
    const char* position;
  };
  const Case cases[] = {
      {0, 0, std::uint64_t{1} << 63U, "9223372036854775828"},
      {0, 0, UINT64_MAX - 20, "18446744073709551615"},
      {0, 0, UINT64_MAX, "18446744073709551615"},  // and not the 19th byte
      {UINT64_MAX - 7, 1, 0, "18446744073709551615"},
      {std::uint64_t{1} << 63U, 0, 0, "9223372036854775808"},
      {8, -2, 0, "18446744073709551608"},
  };
  for (const Case& c : cases) {
    PartReading reading(test_support::RecordBytes(std::endian::native).u64(c.stored).bytes());
    PartitionEntry partition;
    partition.base = 16;
    partition.wide_positions = true;
    partition.object_table_offset = c.table;
    errno = ENOENT;  // of some call before
    EXPECT_EQ(message_of([&] { inspect::seek_object(reading.file, partition, c.index, false); }),
              std::string("fseek to ") + c.position + " failed errno = 22");
  }
}

}  // namespace
