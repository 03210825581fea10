#include "inspect/records/record_reader.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <sstream>

#include "inspect/records/om_strings.h"
#include "tests/support/part_session.h"
#include "tests/support/record_bytes.h"

namespace {

using namespace std::string_literals;
using inspect::Encoding;
using inspect::PartitionEntry;
using inspect::RecordReader;
using inspect::StringTyping;
using test_support::PartSession;

/// What an action reads, or number and message of its escape.
std::string result_of(PartSession& session, const std::function<std::string(RecordReader&)>& action) {
  std::string result;
  session.run([&](inspect::InspectFile& file) {
    const std::string escape = test_support::escape_of([&] { result = action(file.reader); });
    if (!escape.empty()) result = escape;
  });
  return result;
}

TEST(RecordReader, DecodesTheCompactEncoding) {
  const auto integer = [](auto& reader) {
    return std::to_string(reader.read_compact_int(Encoding::compact, "value"));
  };
  const auto word = [](auto& reader) {
    return std::to_string(reader.read_compact_short(Encoding::compact, "value"));
  };
  const auto label = [](auto& reader) { return std::to_string(reader.read_compact_om_label()); };
  // Hexadecimal bytes and what they stand for.
  const std::pair<std::function<std::string(RecordReader&)>, std::string> tables[] = {
      {integer,
       "00 -1 01 0 7F 126 8005 5 9FFF -1 9000 -4096 A01234 4660 BFFFFE -2 C0123456 1193046 "
       "E012345678 305419896 FF80000000 -2147483648"},
      {word, "00 -1 7F 126 8102 258 BFFF -1 C08000 -32768 FF1234 4660"},
      {label,
       "05 42 FE -2 FF -1 F17A7A 42 F37A7A7A7A 42 8A01 2561 B102030405 33752069 C3 bad EF bad F4 bad FD "
       "bad"}};
  for (const auto& [read, table] : tables) {
    std::istringstream words(table);
    for (std::string hex, value; words >> hex >> value;) {
      std::string bytes;
      for (std::size_t i = 0; i < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
      PartSession session(bytes + "rest");
      EXPECT_EQ(result_of(session, read), value == "bad" ? "99 bad compact OM label" : value) << hex;
      EXPECT_EQ(session.file().reader.position(), bytes.size()) << hex;
      EXPECT_EQ(session.verdict().failed(), value == "bad") << hex;
    }
  }
}

TEST(RecordReader, ConvertsTheByteOrderAndSaysWhatItReads) {
  PartSession session("\x01\x02\x01\x02\x03\x04\x01\x02\x03\x04\x05\x06\x07\x08", {.trace = true});
  session.run([](inspect::InspectFile& file) {
    RecordReader& reader = file.reader;
    reader.set_swaps_bytes(std::endian::native == std::endian::little);
    EXPECT_EQ(reader.read<std::int16_t>(inspect::FieldLabel("Word {}", 7)), 0x0102);
    EXPECT_EQ(reader.read<std::int32_t>("Number"), 0x01020304);
    EXPECT_EQ(reader.read_position(true, "Place"), 0x0102030405060708U);
    reader.read(std::span<std::uint8_t>(), "Nothing");
    reader.move_to(3);
  });
  EXPECT_EQ(session.output().out,
            "Reading Word 7: 1 shorts @0\nConverting 1 shorts\nData in: 0102 ... out: 0201\n"
            "Reading Number: 1 ints @2\nData in:  01020304 ... out: 04030201\n"
            "Reading Place: 1 int64s @6\nData in:  0102030405060708 ... out: 0807060504030201\n"
            "Reading Nothing: 0 bytes @14 \nMove to 3\n");
  EXPECT_FALSE(session.run([](inspect::InspectFile& file) {
    file.reader.move_to(11);
    file.reader.read<std::int32_t>("Number");
  }));
  EXPECT_TRUE(session.output().err.ends_with("\n unexpected end of file\n")) << session.output().err;
  EXPECT_TRUE(session.verdict().failed());
}

TEST(OmStrings, ComeInThreeKinds) {
  constexpr auto plain = StringTyping::plain;
  constexpr auto typed = StringTyping::vla_typed;
  const std::tuple<std::string, StringTyping, std::string> cases[] = {
      {"\4"s + "abc", plain, "abc"},
      {"\3\4"s + "abc", typed, "abc"},
      {"\5\1", typed, "first"},
      {"\5\2", typed, "(none)"},
      {"\0"s, typed, "(none)"},
      {"\xA0\x7D\0"s + std::string(32000, 'x'), plain, std::string(32000, 'x')},
      {"\xA0\x7D\1" + std::string(32001, 'x'), plain, "99 Bad value 32001 for length of string"},
      {"\0"s, plain, "99 Bad value -1 for length of string"},
      {"\5\3", typed, "99 Bad shared string table index: 2"},
      {"\5\0"s, typed, "99 Bad shared string table index: -1"},
      {"\x1F", typed, "99 String object begins with a 1f instead of 0, 3 or 5\n"},
      {"\4"s + "ab", plain, "99 unexpected end of file"}};
  PartitionEntry partition;
  partition.encoding = Encoding::compact;
  partition.shared_strings = {"first", std::nullopt};
  for (const auto& [bytes, string_typing, result] : cases) {
    PartSession session(bytes);
    const auto read = [&, typing = string_typing](RecordReader& reader) {
      return read_om_string(reader, typing, partition, "text").value_or("(none)");
    };
    EXPECT_EQ(result_of(session, read), result);
  }
}

TEST(ObjectPositions, CountFromBehindTheLengthField) {
  struct Case {
    bool wide;
    std::uint8_t length_size;
    std::uint64_t table;
    std::int32_t index;
    std::uint64_t stored;  ///< 8 bytes at position 0; a 4-byte 9 follows
    std::string result;
  };
  const std::string last = "18446744073709551615";
  const auto failed = [](const std::string& at) { return "99 fseek to " + at + " failed errno = 22"; };
  const Case cases[] = {{false, 4, 4, 1, 0, "29"},
                        {true, 12, 0, 0, 5, "33"},
                        {true, 4, 0, 0, std::uint64_t{1} << 63U, failed("9223372036854775828")},
                        {true, 4, 0, 0, UINT64_MAX - 20, failed(last)},
                        {true, 4, 0, 0, UINT64_MAX, failed(last)},  // and not the 19th byte
                        {true, 4, UINT64_MAX - 7, 1, 0, failed(last)},
                        {true, 4, std::uint64_t{1} << 63U, 0, 0, failed("9223372036854775808")},
                        {true, 4, 8, -2, 0, failed("18446744073709551608")}};
  for (const Case& c : cases) {
    PartSession session(test_support::RecordBytes(std::endian::native).u64(c.stored).u32(9).bytes());
    PartitionEntry partition;
    partition.base = 16;
    partition.wide_positions = c.wide;
    partition.om_file_length_byte_size = c.length_size;
    partition.object_table_offset = c.table;
    errno = ENOENT;  // of some call before
    const auto seek = [&](RecordReader& reader) {
      seek_object(reader, partition, c.index);
      return std::to_string(reader.position());
    };
    EXPECT_EQ(result_of(session, seek), c.result);
  }
}

}  // namespace
