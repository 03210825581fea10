#include <gtest/gtest.h>

#include <regex>

#include "inspect/records/part_header_reader.h"
#include "inspect/records/partition_index.h"
#include "tests/support/part_builder.h"
#include "tests/support/part_session.h"

namespace {

using inspect::PartHeader;
using namespace test_support;

/// What reading header and list has to say: errors as they are, warnings behind a blank.
std::string told(const PartSession& session) {
  const std::regex file("vr_inspect: In file folder/block.prt( ?)\n ");
  return std::regex_replace(session.output().err, file, "$1");
}

TEST(PartHeader, ReadsTheSameFieldsInBothByteOrders) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    PartBuilder part;
    part.order = order;
    part.word(8, 0x205).word(10, 0x10).word(24, 0xFFFE).word(30, 5).text(32, "Shaft\0");
    part.word(408, 0xFFFF).word(428, 22).add({});
    PartSession session(part.build());
    ASSERT_EQ(told(session.read_list()), "");
    const PartHeader& header = session.file().records.header;
    EXPECT_EQ(header.first_history, 0x205);
    EXPECT_EQ(header.second_history, 0x10);
    EXPECT_EQ(header.entity_count, 65533);
    EXPECT_EQ(header.description, "Shaft");
    EXPECT_EQ(header.original_codeset, 28);
    EXPECT_EQ(header.last_filed_codeset, 21);
    EXPECT_EQ(session.file().records.other_byte_order, order != std::endian::native);
  }
}

TEST(PartHeader, FlagsComeFromTheirBits) {
  const std::tuple<std::int16_t, std::size_t, int, bool PartHeader::*, bool> cases[] = {
      {70, 18, 2, &PartHeader::no_foreign_data, true},
      {70, 18, 11, &PartHeader::wave_data, true},
      {14, 18, 11, &PartHeader::wave_data, false},
      {45, 422, 9, &PartHeader::student_edition, false},
      {46, 422, 9, &PartHeader::student_edition, true},
      {49, 422, 9, &PartHeader::student_edition, true},
      {50, 422, 9, &PartHeader::student_edition, false},
      {50, 422, 9, &PartHeader::second_version_flag, true},
      {50, 422, 15, &PartHeader::student_edition, true},
      {51, 422, 15, &PartHeader::third_version_flag, true},
      {51, 442, 0, &PartHeader::student_edition, true},
      {70, 442, 1, &PartHeader::intrapart_module, false},
      {70, 424, 2, &PartHeader::development, true},
      {52, 424, 10, &PartHeader::exported_4gd, false},
      {53, 424, 10, &PartHeader::exported_4gd, true},
      {70, 424, 12, &PartHeader::fast_load, true},
      {70, 442, 2, &PartHeader::precise_structure, true},
      {70, 442, 4, &PartHeader::workset, true},
      {70, 442, 5, &PartHeader::from_transient, true}};
  for (const auto& [version, word, bit, flag, set] : cases) {
    PartBuilder part;
    part.version = version;
    part.word(word, static_cast<std::uint16_t>(1U << bit)).add({});
    EXPECT_EQ(PartSession(part.build()).read_list().file().records.header.*flag, set)
        << "V " << version << " word " << word << " bit " << bit;
  }
}

struct Damage {
  std::function<void(PartBuilder&)> apply;
  std::string told;  ///< without the line end behind the message
};

void expect_told(const PartBuilder& sound, std::span<const Damage> cases) {
  for (const Damage& c : cases) {
    PartBuilder part = sound;
    c.apply(part);
    EXPECT_EQ(told(PartSession(part.build()).read_list()), c.told.empty() ? "" : c.told + "\n")
        << "row " << &c - cases.data();
  }
}

TEST(PartHeader, BadValuesEndTheFile) {
  const std::string text_mode = " Parts should be copied using binary (not ascii) mode ftp\n";
  const Damage cases[] = {
      {[](auto& p) { p.word(30, 132); }, ""},
      {[](auto& p) { p.word(30, 133); }, "description length too long 133"},
      {[](auto& p) { p.word(164, 133); }, "customer area length too long 133"},
      {[](auto& p) { p.text(402, std::string("\x0D\0\xFF\0", 4)); }, ""},
      {[](auto& p) { p.text(402, std::string("\0\0ab", 4)); }, ""},
      {[](auto& p) { p.text(402, std::string("\x0D\0\xFF\x01", 4)); },
       "*** Part file is corrupt (FTP bytes not as expected)\n" + text_mode},
      {[](auto& p) { p.text(402, std::string("\x0D\xFF\0\0", 4)); },
       "*** Part file probably corrupted by ASCII ftp from VMS\n" + text_mode},
      {[](auto& p) { p.text(402, "abcd").version = 17; }, ""},
      {[](auto& p) { p.units = 3; }, "Found invalid units of 3 in part header\n"},
      {[](auto& p) { p.word(424, 0x18); }, " part contains inconsistent save mode bits"},
      {[](auto& p) { p.word(424, 0x20); }, " part does not contain valid clone operation code"},
      {[](auto& p) { p.word(424, 0x60).word(426, 0x01); },
       " part does not contain valid clone operation codes"},
      {[](auto& p) { p.word(424, 0x60).word(426, 0x21); }, ""},
      {[](auto& p) { p.index_format = 3; }, "Expecting index format of 1 or 2 but found 3\n"},
      {[](auto& p) { p.partition_count = 0; }, "Expecting positive partition count but found 0\n"},
      {[](auto& p) { p.next_partition_id = 0; }, "Expecting positive next_partition_id but found 0\n"},
      {[](auto& p) { p.next_partition_id = 5; }, "Invalid partition id (5) found in partition #0\n"},
      {[](auto& p) { p.add({.id = 6, .type = 0}); }, "Invalid partition type (0) found in partition #1\n"},
      {[](auto& p) { p.add({.id = 6, .type = 20}); }, "Invalid partition type (20) found in partition #1\n"},
      {[](auto& p) { p.add({.id = 6, .listed_offset = 1 << 20}); },
       "Bad offset (1048576) for partition #1\n"},
      {[](auto& p) { p.add({.id = 6, .listed_offset = 3}); },
       " Partition id 6 has offset 3 (3) out of bounds for the file"},
      {[](auto& p) { p.add({.id = 6, .marker = "\xC0\xD1\x0A\xED"}); },
       " Missing marker preceding partition id 6 at offset 664 - found c0d10aed\n"},
      {[](auto& p) { p.add({.id = 5}); }, " duplicate partition id 5\n"},
      {[](auto& p) { p.add({.id = 6, .type = 5, .data = 3}); },
       "Pattern header data should be 0, 1, or 2 but is: 3\n"},
      {[](auto& p) { p.partition_count = 0x7FFFFFFF; },
       "Invalid partition id (-302919232) found in partition #1\n"}};
  PartBuilder part;
  part.add({.id = 5, .bytes = std::string(64, 'x')});
  expect_told(part, cases);
}

TEST(PartHeader, CopyOfTheContainerServesWhenTheCountIsDamaged) {
  PartBuilder part;
  part.add({.id = 5, .type = 7, .bytes = "data"});
  const std::string sound = part.build();
  std::string damaged = sound;
  damaged.replace(0, 200, "\x0B\x01" + std::string(198, '\0'));
  EXPECT_EQ(told(PartSession(damaged).read_list()),
            "Corrupt part - part file header word count is 2817 but should be 10, 12, or 269\n\n");
  PartSession session(damaged);
  EXPECT_TRUE(session.run([&](inspect::InspectFile& file) {
    read_part_header(file, std::as_bytes(std::span(sound)).first(540));
    read_partition_index(file);
  }));
  EXPECT_EQ(session.file().records.header.version, 70);
  EXPECT_EQ(session.file().records.partitions.size(), 1U);
}

PartBuilder directories(std::uint16_t header_words, std::int16_t version) {
  PartBuilder part;
  part.header_words = header_words;
  part.version = version;
  part.units = 0;
  return part;
}

TEST(Directories, AreFollowedAlongTheirChain) {
  for (const std::uint16_t words : std::initializer_list<std::uint16_t>{10, 12, 269}) {
    for (const std::int16_t version : std::initializer_list<std::int16_t>{9, 14, 15}) {
      PartBuilder part = directories(words, version);
      part.add({.type = 1, .data = 2}).add({.type = 3}).add({.type = 2, .data = 0, .gap = 40});
      part.add({.type = 5});
      part.directory_mode = 1;
      PartSession alone(part.build());
      EXPECT_EQ(told(alone.read_list()), "");
      EXPECT_EQ(alone.file().records.partitions.size(), 1U) << "nothing goes on behind type 1";
      part.directory_mode = 2;
      PartSession session(part.build());
      ASSERT_EQ(told(session.read_list()), "") << words << " words, V " << version;
      const inspect::PartRecords& records = session.file().records;
      ASSERT_EQ(records.partitions.size(), 4U);
      EXPECT_EQ(records.units, 2);
      EXPECT_EQ(records.empty_directories, 1);
      EXPECT_EQ(records.partitions[2].base, part.data_offset(2));
    }
  }
}

TEST(Directories, DamageEndsTheFile) {
  const Damage cases[] = {
      {[](auto& p) { p.add({.type = 3, .directory_word_count = 0}); },
       "Count in directory 3 is invalid: 0\n"},
      {[](auto& p) { p.add({.type = 3, .directory_word_count = 17}); },
       "Count in directory 3 is invalid: 17\n"},
      {[](auto& p) { p.add({.type = 1, .data = 3}); }, "Bad part units 3\n"},
      {[](auto& p) { p.add({.type = 3, .data = 2}); },
       "CMOD/EXP partition header data should be 1 but is: 2\n"},
      {[](auto& p) { p.add({.type = 20}); }, "*** Corrupt part - unknown directory type: 20\n"},
      {[](auto& p) {
         p.add({.type = 3, .next_directory = static_cast<std::uint32_t>(p.data_offset(1) - 10)});
       },
       "Directory chain comes back to offset 1000\n"}};
  PartBuilder part = directories(12, 12);
  part.add({.type = 1, .data = 1}).add({.type = 4});
  expect_told(part, cases);
}

}  // namespace
