#include "inspect/solid/data_block_copy.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <functional>
#include <random>

#include "inspect/solid/deflated_copy.h"
#include "inspect/solid/fast_inflate.h"
#include "inspect/solid/sound_block_copy.h"
#include "inspect/solid/transmit_extraction.h"
#include "tests/support/files.h"
#include "tests/support/part_builder.h"
#include "tests/support/part_session.h"
#include "tests/support/solid_builder.h"

namespace {

using test_support::deflated;
using test_support::PartBuilder;
using test_support::PartSession;
using test_support::read_file;
using test_support::ScratchFolder;
using test_support::SolidBlock;
using test_support::SolidPlan;

const std::string kHeader(test_support::kSolidHeader);

/// Text that deflates, but not to nothing.
std::string sample_data(std::size_t size) {
  std::minstd_rand random(7);
  std::string data(size, '\0');
  for (char& byte : data) byte = "0123456789abcdef"[random() % 16];
  return data;
}

PartBuilder part_with(const SolidPlan& solid) {
  PartBuilder part;
  part.order = solid.order;
  part.add({.id = 10, .type = solid.kind, .bytes = solid_partition(solid)});
  return part;
}

std::string with_flipped_byte(std::string bytes, std::size_t at) {
  bytes.at(at) = static_cast<char>(bytes[at] ^ 0x55);
  return bytes;
}

/// A fault of a compressed block, and what checking and extracting say of it.
struct Fault {
  const char* name;
  std::function<void(SolidBlock&)> make;
  std::vector<std::string> check;
  std::vector<std::string> extract;
  std::size_t written;
};

std::vector<Fault> faults() {
  return {
      {"sound", [](SolidBlock&) {}, {}, {}, 5000},
      {"size",
       [](SolidBlock& block) { block.saved_size = 9; },
       {"Compressed brepsolid partition 10 had saved size 9 bytes but expanded to 5000 bytes\n"},
       {"Compressed brepsolid partition had saved size 9 bytes but expanded to 5000 bytes\n"},
       5000},
      {"stored checksum hides the other in check mode",
       [](SolidBlock& block) {
         block.saved_stored_checksum = 9;
         block.saved_plain_checksum = 8;
       },
       {"Saved checksum for compressed brepsolid partition id 10 is 9 does not match calculated checksum "},
       {"Saved checksum for compressed brepsolid partition 9 does not match calculated checksum ",
        "Saved checksum for uncompressed brepsolid partition 8 does not match calculated checksum "},
       5000},
      {"plain checksum",
       [](SolidBlock& block) { block.saved_plain_checksum = 8; },
       {"Saved checksum for uncompressed brepsolid partition id 10 is 8 does not match calculated checksum "},
       {"Saved checksum for uncompressed brepsolid partition 8 does not match calculated checksum "},
       5000},
      {"checksum of the stream: the last piece is lost",
       [](SolidBlock& block) {
         block.stored = with_flipped_byte(deflated(block.data), deflated(block.data).size() - 1);
       },
       {"decompression failure -3 for partition 10"},
       {"decompression failure -3 for partition 10"},
       4096},
      {"cut stream",
       [](SolidBlock& block) {
         block.stored = deflated(block.data).substr(0, deflated(block.data).size() - 5);
       },
       {"decompression failure -5 for partition 10"},
       {"decompression failure -5 for partition 10"},
       4096},
      {"no stream",
       [](SolidBlock& block) { block.stored = std::string(3000, 'j'); },
       {"decompression failure -3 for partition 10"},
       {"decompression failure -3 for partition 10"},
       0},
      {"more stored bytes than the stream has",
       [](SolidBlock& block) { block.stored = deflated(block.data) + std::string(20'000, 'j'); },
       {},
       {},
       5000},
  };
}

/// How often the texts of findings occur.
std::size_t findings(const std::string& text) {
  std::size_t count = 0;
  for (const char* start : {"Saved checksum", "had saved size", "decompression failure"}) {
    for (std::size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) ++count;
  }
  return count;
}

TEST(DataBlockCopy, TellsEachFaultInBothModes) {
  const ScratchFolder scratch;
  for (const bool wide : {false, true}) {
    for (const Fault& fault : faults()) {
      SCOPED_TRACE(fault.name);
      SolidPlan solid{.kind = 19, .block = {.data = sample_data(5000)}, .compressed = true, .wide = wide};
      fault.make(solid.block);
      PartSession session(part_with(solid).build());
      bool sound = false;
      session.read().run([&](auto& file) { sound = check_all_partitions(file); });
      EXPECT_EQ(sound, fault.check.empty());
      for (const std::string& text : fault.check)
        EXPECT_NE(session.output().out.find(text), std::string::npos);
      EXPECT_EQ(findings(session.output().out), fault.check.size()) << session.output().out;
      session.run([&](auto& file) { sound = extract_all_partitions(file); });
      EXPECT_EQ(sound, fault.extract.empty());
      for (const std::string& text : fault.extract)
        EXPECT_NE(session.output().err.find(text), std::string::npos);
      EXPECT_EQ(read_file("block_10.x_d"), solid.block.data.substr(0, fault.written));
    }
  }
}

/// Large blocks go through a faster decoder until something in them is not sound; with tracing zlib does it
/// all.
TEST(DataBlockCopy, LargeBlocksGiveWhatZlibAloneGives) {
  const ScratchFolder scratch;
  std::vector<Fault> all = faults();
  const auto add = [&](const char* name, std::function<void(SolidBlock&)> make) {
    all.push_back({name, std::move(make), {}, {}, 0});
  };
  add("a byte in the middle",
      [](SolidBlock& block) { block.stored = with_flipped_byte(deflated(block.data), 300'000); });
  add("window size", [](SolidBlock& block) { block.stored = "\x88\x1c" + deflated(block.data).substr(2); });
  add("no trailer", [](SolidBlock& block) { block.trailer = false; });
  const std::string data = sample_data(600'000);
  for (const Fault& fault : all) {
    SCOPED_TRACE(fault.name);
    SolidPlan solid{.kind = 12, .block = {.data = data}, .compressed = true};
    fault.make(solid.block);
    std::string written[2];
    std::string messages[2];
    std::size_t found[2] = {};
    for (const bool trace : {false, true}) {
      inspect::InspectOptions options;
      options.trace = trace;
      PartSession session(part_with(solid).build(), options);
      session.read().run([](auto& file) { check_all_partitions(file); });
      found[trace] = findings(session.output().out);
      session.run([](auto& file) { extract_all_partitions(file); });
      messages[trace] = session.output().err;
      written[trace] = read_file("block_10.x_b");
    }
    EXPECT_EQ(found[0], found[1]);
    EXPECT_EQ(messages[0], messages[1]);
    EXPECT_EQ(written[0], written[1]);
  }
}

TEST(DataBlockCopy, TheFastDecoderTakesSoundBlocksOnly) {
  if (inspect::FastInflate::create() == nullptr) GTEST_SKIP() << "no fast decoder here";
  const std::string data = sample_data(100'000);
  for (const Fault& fault : faults()) {
    SCOPED_TRACE(fault.name);
    SolidPlan solid{.block = {.data = data}, .compressed = true};
    fault.make(solid.block);
    PartSession session(part_with(solid).build());
    session.read().run([&](inspect::InspectFile& file) {
      const inspect::PartitionEntry& entry = file.partitions.at(0);
      const inspect::DataBlock block = {.stored_length = entry.solid->bits.rest_size, .compressed = true};
      file.stream->set_position(entry.solid->data_position);
      const auto copied = copy_sound_block(file, entry, block, nullptr);
      EXPECT_EQ(copied.has_value(), std::string_view(fault.name) == "sound");
      EXPECT_EQ(copied.value_or(inspect::DeflatedResult{}).produced, copied ? solid.block.data.size() : 0);
    });
  }
}

struct Copied {
  std::string written;
  std::uint64_t produced = 0;
  int error = 0;
  bool operator==(const Copied&) const = default;
};

/// The copy as it must look from outside: input of 8192 bytes at a time, output of 1024, of which a piece
/// with a fault is thrown away.
Copied copy_in_small_buffers(std::string stored) {
  constexpr std::size_t kInput = 8192;
  Copied copied;
  std::string piece(1024, '\0');
  z_stream stream = {};
  EXPECT_EQ(inflateInit(&stream), Z_OK);
  std::size_t taken = 0;
  int state = Z_OK;
  while (state == Z_OK && (taken < stored.size() || stream.avail_in > 0)) {
    stream.next_out = reinterpret_cast<unsigned char*>(piece.data());
    stream.avail_out = static_cast<uInt>(piece.size());
    do {
      if (stream.avail_in == 0) {
        const std::size_t size = std::min(kInput, stored.size() - taken);
        stream.next_in = reinterpret_cast<unsigned char*>(stored.data()) + taken;
        stream.avail_in = static_cast<uInt>(size);
        taken += size;
      }
      state = inflate(&stream, Z_NO_FLUSH);
    } while (state == Z_OK && stream.avail_out > 0);
    const std::size_t count = piece.size() - stream.avail_out;
    copied.produced += count;
    if (state == Z_OK || state == Z_STREAM_END) copied.written.append(piece, 0, count);
  }
  inflateEnd(&stream);
  copied.error = state == Z_STREAM_END ? Z_OK : state;
  return copied;
}

/// A zlib stream of one of many shapes, with one fault or none.
std::string random_stream(std::minstd_rand& random) {
  const std::size_t sizes[] = {1024, 1023, 4096, 8192, 9000, 20'480, 65'536, 600'000, random() % 40'000};
  std::string data(sizes[random() % std::size(sizes)], 'z');
  const std::size_t letters = std::size_t{1} << random() % 9;
  for (char& byte : data) byte = static_cast<char>(random() % letters);
  std::string stored(compressBound(data.size()), '\0');
  uLongf size = stored.size();
  compress2(reinterpret_cast<unsigned char*>(stored.data()), &size,
            reinterpret_cast<const unsigned char*>(data.data()), data.size(),
            static_cast<int>(random() % 10));
  stored.resize(size);
  // Most faults are put where two buffers meet.
  const std::size_t meeting = stored.size() > 8192 ? 8192 * (1 + random() % (stored.size() / 8192)) : 0;
  const std::size_t near =
      std::min(stored.size() - 1, meeting + random() % 8 - std::min<std::size_t>(meeting, 4));
  const std::size_t at = random() % 2 == 0 ? near : random() % stored.size();
  switch (random() % 4) {
    case 0:
      stored[at] = static_cast<char>(random());
      break;
    case 1:
      stored.resize(at);
      break;
    case 2:
      stored.replace(at, 5, std::string(1 + random() % 9, static_cast<char>(random())));
      break;
    default:
      stored += std::string(random() % 3, 'x');
  }
  return stored;
}

TEST(DataBlockCopy, LooksAsIfItWentThroughSmallBuffers) {
  const ScratchFolder scratch;
  std::minstd_rand random(11);
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    const std::string stored = random_stream(random);
    inspect::InspectOptions options;
    options.trace = i % 4 == 0;
    PartSession session(stored, options);
    Copied copied;
    session.run([&](inspect::InspectFile& file) {
      inspect::TransmitFile output(file, "copy");
      const auto result = inspect::DeflatedCopy(file, &output).run(stored.size());
      output.close();
      copied = {read_file("copy"), result.produced, result.error};
    });
    ASSERT_TRUE(copied == copy_in_small_buffers(stored))
        << copied.written.size() << " of " << copied.produced << ", " << copied.error;
  }
}

TEST(DataBlockCopy, LargeBlocksComeOutWhole) {
  const ScratchFolder scratch;
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1024}, std::size_t{8193}, std::size_t{1'500'000}}) {
    for (const bool compressed : {false, true}) {
      for (const bool trace : {false, true}) {
        const SolidPlan solid{
            .order = std::endian::big, .block = {.data = sample_data(size)}, .compressed = compressed};
        inspect::InspectOptions options;
        options.trace = trace;
        PartSession session(part_with(solid).build(), options);
        session.read().run([](auto& file) { EXPECT_TRUE(extract_all_partitions(file)); });
        EXPECT_EQ(read_file("block_10.x_b"), kHeader + solid.block.data);
      }
    }
  }
}

TEST(DataBlockCopy, TraceShowsEachPiece) {
  inspect::InspectOptions options;
  options.trace = true;
  const SolidPlan plain{.block = {.data = std::string(1500, 'p')}};
  PartSession session(part_with(plain).build(), options);
  session.read().run([](auto& file) { check_all_partitions(file); });
  EXPECT_NE(session.output().out.find(
                "Reading Brepsolid buffer of size 1024, bytes remaining = 1500: 1024 bytes @"),
            std::string::npos);
  EXPECT_NE(
      session.output().out.find("Reading Brepsolid buffer of size 476, bytes remaining = 476: 476 bytes @"),
      std::string::npos);
  EXPECT_NE(session.output().out.find("Brepsolid partition 10 is not compressed and has no checksum\n"),
            std::string::npos);
}

TEST(DataBlockCopy, WholePiecesBeforeTheEndOfTheFileAreWritten) {
  const ScratchFolder scratch;
  const SolidPlan plain{.block = {.data = std::string(3000, 'p')}};
  PartBuilder part = part_with(plain);
  // Short by less than the header: no truncation mark.
  const std::string bytes = part.build().substr(0, part.data_offset(0) + 8 + kHeader.size() + 2990);
  PartSession session(bytes);
  session.read().run([](auto& file) { extract_all_partitions(file); });
  EXPECT_NE(session.output().err.find("unexpected end of file"), std::string::npos);
  EXPECT_NE(session.output().err.find("output file block_10.x_b is incomplete"), std::string::npos);
  EXPECT_EQ(read_file("block_10.x_b"), kHeader + std::string(2048, 'p'));
}

/// Exchanges the first two of the index entries that start there.
void exchange_entries(std::string& bytes, std::size_t at) {
  constexpr std::ptrdiff_t kEntrySize = 20;
  const auto entry = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  std::rotate(entry, entry + kEntrySize, entry + 2 * kEntrySize);
}

/// Latent bodies alone may lack their trailer. Counted from the entry's start, the end of the stored data
/// must reach the next partition of the file, whatever its place in the index.
TEST(DataBlockCopy, LatentBodyWithoutTrailer) {
  enum class Place { last, listed_last, in_front };
  for (const std::int32_t kind : {12, 13}) {
    for (const Place place : {Place::last, Place::listed_last, Place::in_front}) {
      SolidPlan solid{.kind = kind, .header_text = "", .compressed = true};
      solid.block = {.data = sample_data(4000), .trailer = false};
      PartBuilder part = part_with(solid);
      part.tail = "";
      if (place != Place::last) part.add({.id = 20, .type = 10, .bytes = test_support::solid_partition({})});
      std::string bytes = part.build();
      if (place == Place::listed_last) exchange_entries(bytes, 540 + 12);
      PartSession session(bytes);
      bool sound = false;
      const bool finished = session.read().run([&](auto& file) { sound = check_all_partitions(file); });
      EXPECT_EQ(finished && sound, kind == 12) << session.output().out;
    }
  }
}

/// One stage of expansion may come to its own ratio, a framed one besides not to more.
TEST(DataBlockCopy, ExpandsNoFurtherThanOneStageCan) {
  const SolidPlan solid{
      .header_text = "", .block = {.data = std::string(5'000'000, '\0')}, .compressed = true};
  for (const bool framed : {false, true}) {
    PartSession session(part_with(solid).build());
    if (framed) session.file().disk_length = 1000;
    bool sound = false;
    const bool finished = session.read().run(
        [&](auto& file) { sound = check_all_partitions(file) && check_all_partitions(file); });
    EXPECT_EQ(finished && sound, !framed);
    EXPECT_EQ(session.output().err.find("expand to more than 1032 times") != std::string::npos, framed);
  }
}

TEST(DataBlockCopy, ManyEntriesOfTheSameBytesAreRefused) {
  PartBuilder part = part_with({.block = {.data = sample_data(50'000)}});
  constexpr std::int32_t kMore = 20;
  constexpr std::size_t kEntrySize = 20;
  for (std::int32_t id = 11; id < 11 + kMore; ++id) {
    part.add({.id = id, .listed_offset = 540 + 12 + (kMore + 1) * kEntrySize + 4, .marker = ""});
  }
  ASSERT_EQ(part.data_offset(0), 540 + 12 + (kMore + 1) * kEntrySize + 4);
  PartSession session(part.build());
  EXPECT_FALSE(session.read().run([](auto& file) { check_all_partitions(file); }));
  EXPECT_NE(session.output().err.find("partitions overlap"), std::string::npos);
}

}  // namespace
