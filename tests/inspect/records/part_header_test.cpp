#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/part_header_reader.h"
#include "inspect/records/partition_index.h"
#include "support/error_escape.h"
#include "tests/support/captured.h"
#include "tests/support/part_builder.h"
#include "tests/support/part_reading.h"

namespace {

using inspect::PartHeader;
using test_support::PartBuilder;
using test_support::PartReading;

/// Reads header and index (or directories); the text of the escape, empty when there was none.
std::string read(PartReading& reading) {
  std::string message;
  const auto output = test_support::captured([&] {
    try {
      inspect::read_part_header(reading.file, false);
      if (reading.file.has_markers) {
        inspect::read_partition_index(reading.file, false);
      } else {
        inspect::start_directory_chain(reading.file);
      }
      for (std::size_t i = 0; i < reading.file.partitions.size(); ++i) {
        inspect::check_partition_start(reading.file, reading.file.partitions[i], false);
      }
    } catch (const support::ErrorEscape& escape) {
      message = escape.message();
    }
  });
  return message + (output.err.find(" \n ") != std::string::npos ? "[warned]" : "");
}

std::string read(const PartBuilder& part) {
  PartReading reading(part.build());
  return read(reading);
}

TEST(PartHeader, ReadsTheSameFieldsInBothByteOrders) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    PartBuilder part;
    part.order = order;
    part.word(8, 0x205)
        .word(10, 0x10)
        .word(24, 0xFFFE)
        .word(28, 7)
        .word(30, 5)
        .text(32, "Shaft\0")
        .word(164, 4);
    part.text(166, "Zone").text(302, "E12656F1").word(408, 0xFFFF).word(428, 22).word(454, 9);
    part.add({.id = 3, .type = 7, .bytes = "data"});
    PartReading reading(part.build());
    ASSERT_EQ(read(reading), "");
    const PartHeader& header = reading.file.header;
    EXPECT_EQ(header.version, 70);
    EXPECT_EQ(header.first_history, 0x205);
    EXPECT_EQ(header.second_history, 0x10);
    EXPECT_EQ(header.entity_count, 65533);
    EXPECT_EQ(header.description, "Shaft");
    EXPECT_EQ(header.customer_area, "Zone");
    EXPECT_EQ(header.unique_identifier, "E12656F1");
    EXPECT_EQ(header.original_codeset, 28);
    EXPECT_EQ(header.last_filed_codeset, 21);
    EXPECT_EQ(reading.file.swap_bytes, order != std::endian::native);
    ASSERT_EQ(reading.file.partitions.size(), 1U);
    EXPECT_EQ(reading.file.partitions[0].type, 7);
  }
}

TEST(PartHeader, FlagsComeFromTheirBits) {
  struct Case {
    std::int16_t version;
    std::size_t word;
    int bit;
    bool PartHeader::*flag;
    bool set;
  };
  const Case cases[] = {
      {70, 18, 2, &PartHeader::no_foreign_data, true},
      {70, 18, 11, &PartHeader::wave_data, true},
      {14, 18, 11, &PartHeader::wave_data, false},
      {70, 422, 6, &PartHeader::internal_use_only, true},
      {70, 422, 8, &PartHeader::drawing_snapshot, true},
      {70, 422, 10, &PartHeader::development_use_only, true},
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
      {70, 424, 7, &PartHeader::cloned_more_than_twice, true},
      {70, 424, 9, &PartHeader::pre_v10_layout, true},
      {52, 424, 10, &PartHeader::exported_4gd, false},
      {53, 424, 10, &PartHeader::exported_4gd, true},
      {70, 424, 11, &PartHeader::old_concept_data, true},
      {70, 424, 12, &PartHeader::fast_load, true},
      {70, 442, 2, &PartHeader::precise_structure, true},
      {70, 442, 4, &PartHeader::workset, true},
      {70, 442, 5, &PartHeader::from_transient, true},
  };
  for (const Case& c : cases) {
    PartBuilder part;
    part.version = c.version;
    part.word(c.word, static_cast<std::uint16_t>(1U << c.bit)).add({});
    PartReading reading(part.build());
    read(reading);
    EXPECT_EQ(reading.file.header.*c.flag, c.set)
        << "V " << c.version << " word " << c.word << " bit " << c.bit;
  }
}

struct Damage {
  const char* what;
  std::function<void(PartBuilder&)> apply;
  std::string message;
};

TEST(PartHeader, BadValuesEndTheFile) {
  const std::string text_mode = " Parts should be copied using binary (not ascii) mode ftp\n";
  const Damage cases[] = {
      {"description of 132", [](auto& p) { p.word(30, 132); }, ""},
      {"description of 133", [](auto& p) { p.word(30, 133); }, "description length too long 133"},
      {"customer area of 133", [](auto& p) { p.word(164, 133); }, "customer area length too long 133"},
      {"transfer check 0D 00 FF 00", [](auto& p) { p.text(402, std::string("\x0D\0\xFF\0", 4)); }, ""},
      {"transfer check 00 00 xx xx", [](auto& p) { p.text(402, std::string("\0\0ab", 4)); }, ""},
      {"transfer check 0D 00 FF 01", [](auto& p) { p.text(402, std::string("\x0D\0\xFF\x01", 4)); },
       "*** Part file is corrupt (FTP bytes not as expected)\n" + text_mode},
      {"transfer check 0D FF", [](auto& p) { p.text(402, std::string("\x0D\xFF\0\0", 4)); },
       "*** Part file probably corrupted by ASCII ftp from VMS\n" + text_mode},
      {"an unchecked version",
       [](auto& p) {
         p.version = 17;
         p.text(402, "abcd");
       },
       ""},
      {"units 3", [](auto& p) { p.units = 3; }, "Found invalid units of 3 in part header\n"},
      {"both save modes", [](auto& p) { p.word(424, 0x18); }, "[warned]"},
      {"clone without codes", [](auto& p) { p.word(424, 0x20); }, "[warned]"},
      {"second clone without a code", [](auto& p) { p.word(424, 0x60).word(426, 0x01); }, "[warned]"},
      {"sound clone codes", [](auto& p) { p.word(424, 0x60).word(426, 0x21); }, ""},
      {"index format 3", [](auto& p) { p.index_format = 3; },
       "Expecting index format of 1 or 2 but found 3\n"},
      {"no partitions", [](auto& p) { p.partition_count = 0; },
       "Expecting positive partition count but found 0\n"},
      {"next id 0", [](auto& p) { p.next_partition_id = 0; },
       "Expecting positive next_partition_id but found 0\n"},
      {"id at the next id", [](auto& p) { p.next_partition_id = 5; },
       "Invalid partition id (5) found in partition #0\n"},
      {"type 0", [](auto& p) { p.add({.id = 6, .type = 0}); },
       "Invalid partition type (0) found in partition #1\n"},
      {"type 20", [](auto& p) { p.add({.id = 6, .type = 20}); },
       "Invalid partition type (20) found in partition #1\n"},
      {"offset behind the end", [](auto& p) { p.add({.id = 6, .listed_offset = 1 << 20}); },
       "Bad offset (1048576) for partition #1\n"},
      {"offset in the first bytes", [](auto& p) { p.add({.id = 6, .listed_offset = 3}); }, "[warned]"},
      {"a wrong marker", [](auto& p) { p.add({.id = 6, .marker = "\xC0\xD1\x0A\xED"}); }, "[warned]"},
      {"the same id twice", [](auto& p) { p.add({.id = 5}); }, "[warned]"},
      {"pattern mode 3", [](auto& p) { p.add({.id = 6, .type = 5, .data = 3}); },
       "Pattern header data should be 0, 1, or 2 but is: 3\n"},
      {"an absurd count", [](auto& p) { p.partition_count = 0x7FFFFFFF; }, "unexpected end of file"},
  };
  for (const Damage& c : cases) {
    PartBuilder part;
    part.add({.id = 5, .bytes = std::string(64, 'x')});
    c.apply(part);
    const std::string message = read(part);
    if (std::string_view(c.what) == "an absurd count") {
      EXPECT_NE(message, "") << c.what;
      continue;
    }
    EXPECT_EQ(message, c.message) << c.what;
  }
}

TEST(PartHeader, CorruptCountNamesTheValue) {
  PartReading reading(std::string("\x0B\x01", 2) + std::string(600, '\0'));
  EXPECT_NE(read(reading).find("word count is "), std::string::npos);
  EXPECT_TRUE(reading.file.failed);
}

TEST(PartHeader, CopyOfTheContainerServesWhenTheCountIsDamaged) {
  PartBuilder part;
  part.add({.id = 5, .type = 7, .bytes = "data"});
  const std::string sound = part.build();
  std::string damaged = sound;
  damaged.replace(0, 200, 200, '\0');
  PartReading reading(damaged);
  inspect::read_part_header(reading.file, false, std::as_bytes(std::span(sound)).first(540));
  inspect::read_partition_index(reading.file, false);
  EXPECT_EQ(reading.file.header.version, 70);
  EXPECT_EQ(reading.file.partitions.size(), 1U);
}

TEST(Directories, AreFollowedAlongTheirChain) {
  for (const std::uint16_t words : std::initializer_list<std::uint16_t>{10, 12, 269}) {
    for (const std::int16_t version : std::initializer_list<std::int16_t>{9, 14, 15}) {
      PartBuilder part;
      part.header_words = words;
      part.version = version;
      part.units = 0;
      part.add({.type = 1, .data = 2})
          .add({.type = 3})
          .add({.type = 2, .data = 0, .gap = 40})
          .add({.type = 5});
      part.directory_mode = 1;
      PartReading alone(part.build());
      EXPECT_EQ(read(alone), "");
      EXPECT_EQ(alone.file.partitions.size(), 1U) << "nothing goes on behind type 1";
      part.directory_mode = 2;
      PartReading reading(part.build());
      ASSERT_EQ(read(reading), "") << words << " words, V " << version;
      ASSERT_EQ(reading.file.partitions.size(), 4U);
      EXPECT_EQ(reading.file.units, 2);
      EXPECT_EQ(reading.file.empty_directories, 1);
      EXPECT_EQ(reading.file.partitions[2].base, part.data_offset(2));
    }
  }
}

TEST(Directories, DamageEndsTheFile) {
  const Damage cases[] = {
      {"no words", [](auto& p) { p.add({.type = 3, .directory_word_count = 0}); },
       "Count in directory 3 is invalid: 0\n"},
      {"17 words", [](auto& p) { p.add({.type = 3, .directory_word_count = 17}); },
       "Count in directory 3 is invalid: 17\n"},
      {"units 3", [](auto& p) { p.add({.type = 1, .data = 3}); }, "Bad part units 3\n"},
      {"CMOD data 2", [](auto& p) { p.add({.type = 3, .data = 2}); },
       "CMOD/EXP partition header data should be 1 but is: 2\n"},
      {"type 20", [](auto& p) { p.add({.type = 20}); }, "*** Corrupt part - unknown directory type: 20\n"},
  };
  for (const Damage& c : cases) {
    PartBuilder part;
    part.header_words = 12;
    part.version = 12;
    part.units = 0;
    part.add({.type = 1, .data = 1}).add({.type = 4});
    c.apply(part);
    EXPECT_EQ(read(part), c.message) << c.what;
  }
}

TEST(Directories, ACycleEndsTheFile) {
  PartBuilder part;
  part.header_words = 10;
  part.version = 12;
  part.units = 0;
  part.add({.type = 1, .data = 1}).add({.type = 4});
  const auto back = part.data_offset(1) - 10;
  part.add({.type = 3, .next_directory = static_cast<std::uint32_t>(back)});
  EXPECT_EQ(read(part), "Directory chain comes back to offset " + std::to_string(back) + "\n");
}

}  // namespace
