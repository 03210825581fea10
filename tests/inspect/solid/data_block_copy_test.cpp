#include "inspect/solid/data_block_copy.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <random>
#include <regex>

#include "inspect/solid/deflated_copy.h"
#include "inspect/solid/fast_inflate.h"
#include "inspect/solid/sound_block_copy.h"
#include "inspect/solid/transmit_extraction.h"
#include "tests/support/part_builder.h"
#include "tests/support/part_session.h"
#include "tests/support/record_bytes.h"
#include "tests/support/solid_builder.h"

namespace {

using inspect::CopyMode;
using namespace test_support;

const std::string kHeader(kSolidHeader);

bool has(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

/// Text that deflates, but not to nothing.
std::string sample_data(std::size_t size, std::size_t letters = 16) {
  std::minstd_rand random(7);
  std::string data(size, '\0');
  for (char& byte : data) byte = static_cast<char>(random() % letters);
  return data;
}

PartBuilder part_with(const SolidPlan& solid) {
  PartBuilder part;
  part.order = solid.order;
  part.add({.id = 10, .type = solid.kind, .bytes = solid_partition(solid)});
  return part;
}

/// False when something was found, and when an escape ended the work.
bool copies_all(PartSession& session, CopyMode mode) {
  bool sound = false;
  session.run([&](auto& file) { sound = extract_all_partitions(file, {.mode = mode}, session.report()); });
  return sound;
}

/// A fault of a sound compressed block, and what checking and extracting say of it.
struct Fault {
  const char* name;
  std::function<void(SolidBlock&)> make;
  std::string check, extract;
  std::size_t written;
};

std::vector<Fault> faults() {
  const std::string wrong_stream = "decompression failure -3 for partition 10\n";
  const std::string short_stream = "decompression failure -5 for partition 10\n";
  const std::string wrong_plain =
      "Saved checksum for uncompressed brepsolid partition 8 does not match calculated checksum \n";
  const auto with_stream = [](auto damage) {
    return [damage](SolidBlock& block) {
      block.saved_plain_checksum = 8;
      damage(*block.stored);
    };
  };
  return {
      {"sound", [](SolidBlock&) {}, "", "", 5000},
      {"size", [](auto& b) { b.saved_size = 9; },
       "Compressed brepsolid partition 10 had saved size 9 bytes but expanded to 5000 bytes\n",
       "Compressed brepsolid partition had saved size 9 bytes but expanded to 5000 bytes\n", 5000},
      {"stored checksum hides the other in check mode",
       [](auto& b) { b.saved_stored_checksum = 9, b.saved_plain_checksum = 8; },
       "Saved checksum for compressed brepsolid partition id 10 is 9 does not match calculated checksum \n",
       "Saved checksum for compressed brepsolid partition 9 does not match calculated checksum \n" +
           wrong_plain,
       5000},
      {"plain checksum", [](auto& b) { b.saved_plain_checksum = 8; },
       "Saved checksum for uncompressed brepsolid partition id 10 is 8 does not match calculated checksum \n",
       wrong_plain, 5000},
      {"checksum of the stream: the last piece is lost",
       with_stream([](auto& s) { s.back() = static_cast<char>(~s.back()); }), wrong_stream,
       wrong_stream + wrong_plain, 4096},
      {"cut stream", with_stream([](auto& s) { s.resize(s.size() - 5); }), short_stream,
       short_stream + wrong_plain, 4096},
      {"no stream", with_stream([](auto& s) { s.assign(20'000, 'j'); }), wrong_stream,
       wrong_stream + wrong_plain, 0},
      {"window size", with_stream([](auto& s) { s.replace(0, 2, "\x88\x1c"); }), wrong_stream,
       wrong_stream + wrong_plain, 0},
      {"more stored bytes than the stream has", [](auto& b) { b.stored->append(20'000, 'j'); }, "", "",
       5000}};
}

/// The findings of an output, one a line, up to what follows from the bytes.
std::string findings(const std::string& text) {
  static const std::regex kFinding(
      "Compressed brepsolid.*|Saved checksum.*checksum |decompression failure.*partition 10");
  std::string found;
  for (std::sregex_iterator at(text.begin(), text.end(), kFinding), end; at != end; ++at) {
    found += at->str() + '\n';
  }
  return found;
}

TEST(DataBlockCopy, TellsEachFaultInBothModes) {
  const ScratchFolder scratch;
  const SolidBlock block{.data = sample_data(5000), .stored = deflated(sample_data(5000))};
  for (const bool wide : {false, true}) {
    for (const Fault& fault : faults()) {
      SCOPED_TRACE(fault.name);
      SolidPlan solid{.kind = 19, .block = block, .compressed = true, .wide = wide};
      fault.make(solid.block);
      PartSession session(part_with(solid).build());
      EXPECT_EQ(copies_all(session.read(), CopyMode::check), fault.check.empty());
      EXPECT_EQ(findings(session.output().out), fault.check);
      EXPECT_EQ(copies_all(session, CopyMode::extract), fault.extract.empty());
      EXPECT_EQ(findings(session.output().err), fault.extract);
      EXPECT_EQ(read_file("block_10.x_d"), block.data.substr(0, fault.written));
    }
  }
}

/// Large blocks go through a faster decoder until something in them is not sound; with tracing zlib does it
/// all.
TEST(DataBlockCopy, LargeBlocksGiveWhatZlibAloneGives) {
  const ScratchFolder scratch;
  const bool has_fast = inspect::FastInflate::create() != nullptr;
  std::vector<Fault> all = faults();
  const auto flip = [](SolidBlock& block) { (*block.stored)[270'000] ^= 0x55; };
  all.push_back({"a byte behind the first buffers", flip, "", "", 0});
  all.push_back({"no trailer", [](SolidBlock& block) { block.trailer = false; }, "", "", 0});
  const std::string data = sample_data(400'000, 64);
  const SolidBlock sound{.data = data, .stored = deflated(data)};
  for (const Fault& fault : all) {
    SCOPED_TRACE(fault.name);
    SolidPlan solid{.kind = 12, .block = sound, .compressed = true};
    fault.make(solid.block);
    std::string seen[2];
    for (const bool trace : {false, true}) {
      PartSession session(part_with(solid).build(), {.trace = trace});
      copies_all(session.read(), CopyMode::check);
      seen[trace] = findings(session.output().out);
      copies_all(session, CopyMode::extract);
      seen[trace] += session.output().err + read_file("block_10.x_b");
    }
    EXPECT_TRUE(seen[0] == seen[1]);
    PartSession session(part_with(solid).build());
    session.read().run([&](inspect::InspectFile& file) {
      const inspect::PartitionEntry& entry = session.entry(0);
      file.stream->set_position(entry.solid->data_position);
      const auto copied = copy_sound_block(file, entry, {entry.solid->bits.rest_size, true}, nullptr).copied;
      EXPECT_EQ(copied.has_value(), has_fast && std::string_view(fault.name) == "sound");
      EXPECT_EQ(copied.value_or(inspect::DeflatedResult{}).produced, copied ? data.size() : 0);
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

/// Streams whose data end at or near the end of a piece, each with one of the faults that can come next. With
/// the empty blocks in front the stored bytes end with a piece of input too, or with half of one.
void add_streams_of_stored_blocks(std::vector<std::string>& streams) {
  const std::string far_back("\x03\x5E\0\0", 4);  // a copy from 24,577 bytes before
  const std::string last_block("\1\0\0\xFF\xFF", 5);
  const std::string more(9000, 'x');
  const std::pair<int, std::size_t> shapes[] = {{0, 1023},   {0, 1024},   {0, 20'480},
                                                {613, 1024}, {613, 5120}, {0, 262'144}};
  for (const auto& [empty_blocks, size] : shapes) {
    const std::string data = sample_data(size, 256);
    RecordBytes stream(std::endian::little);
    stream.raw("\x78\x01");
    for (int i = 0; i < empty_blocks; ++i) stream.u8(0).u16(0).u16(0xFFFF);
    for (std::size_t at = 0; at < size; at += 0xF000) {
      const std::string block = data.substr(at, 0xF000);
      stream.u8(0).u16(block.size()).u16(~block.size()).raw(block);
    }
    const std::string sum = RecordBytes(std::endian::big).u32(adler_of(data)).bytes();
    for (const std::string& tail :
         {std::string(), std::string("\x07"), "\x07" + more, far_back, far_back + more, last_block + sum,
          last_block + "none", last_block + sum + "xx"}) {
      streams.push_back(stream.bytes() + tail);
    }
  }
}

void add_streams_with_random_faults(std::vector<std::string>& streams) {
  std::minstd_rand random(11);
  for (const auto& [letters, size] : {std::pair{2, 4096}, {2, 300'000}, {16, 20'480}, {200, 290'000}}) {
    const std::string sound = deflated(sample_data(static_cast<std::size_t>(size), letters));
    for (int i = 0; i < 10; ++i) {
      const std::size_t at = random() % sound.size();
      std::string stored = sound;
      stored.replace(at, 1 + random() % 5, std::string(random() % 9, static_cast<char>(random())));
      streams.push_back(i < 7 ? stored : sound.substr(0, at));
    }
  }
}

TEST(DataBlockCopy, LooksAsIfItWentThroughSmallBuffers) {
  const ScratchFolder scratch;
  std::vector<std::string> streams;
  add_streams_of_stored_blocks(streams);
  add_streams_with_random_faults(streams);
  for (std::size_t i = 0; i < streams.size(); ++i) {
    SCOPED_TRACE(i);
    PartSession session(streams[i], {.trace = i % 7 == 0});
    Copied copied;
    session.run([&](inspect::InspectFile& file) {
      inspect::TransmitFile output(file, "copy");
      const auto result = inspect::DeflatedCopy(file, &output).run(streams[i].size());
      output.close();
      copied = {read_file("copy"), result.produced, result.error};
    });
    ASSERT_TRUE(copied == copy_in_small_buffers(streams[i]))
        << copied.written.size() << " of " << copied.produced << ", " << copied.error;
  }
}

TEST(DataBlockCopy, BlocksComeOutWholeAndCutOnesInWholePieces) {
  const ScratchFolder scratch;
  for (const std::size_t size : {1024, 8193, 30'000, 300'000}) {
    for (const bool compressed : {false, true}) {
      const std::string data = sample_data(size);
      const PartBuilder part =
          part_with({.order = std::endian::big, .block = {.data = data}, .compressed = compressed});
      PartSession whole(part.build());
      EXPECT_TRUE(copies_all(whole.read(), CopyMode::extract));
      EXPECT_TRUE(read_file("block_10.x_b") == kHeader + data);

      const std::string stored = compressed ? deflated(data) : data;
      const std::size_t left = stored.size() - 10;  // short by less than the header: no truncation mark
      PartSession cut(part.build().substr(0, part.data_offset(0) + 8 + kHeader.size() + left));
      EXPECT_FALSE(copies_all(cut.read(), CopyMode::extract));
      EXPECT_TRUE(has(cut.output().err, "unexpected end of file"));
      EXPECT_TRUE(has(cut.output().err, "output file block_10.x_b is incomplete"));
      EXPECT_TRUE(read_file("block_10.x_b") ==
                  kHeader + (compressed ? copy_in_small_buffers(stored.substr(0, left / 8192 * 8192)).written
                                        : data.substr(0, left / 1024 * 1024)));
    }
  }
}

TEST(DataBlockCopy, TraceShowsEachPiece) {
  PartSession session(part_with({.block = {.data = std::string(1500, 'p')}}).build(), {.trace = true});
  EXPECT_TRUE(copies_all(session.read(), CopyMode::check));
  EXPECT_TRUE(has(session.output().out, "buffer of size 1024, bytes remaining = 1500: 1024 bytes @"));
  EXPECT_TRUE(has(session.output().out, "buffer of size 476, bytes remaining = 476: 476 bytes @"));
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
      if (place != Place::last) part.add({.id = 20, .type = 10, .bytes = solid_partition({})});
      std::string bytes = part.build();
      const auto index = bytes.begin() + 540 + 12;  // of entries of 20 bytes
      if (place == Place::listed_last) std::rotate(index, index + 20, index + 40);
      PartSession session(bytes);
      EXPECT_EQ(copies_all(session.read(), CopyMode::check), kind == 12) << session.output().out;
    }
  }
}

/// One stage of expansion may come to its own ratio, a framed one besides not to more.
TEST(DataBlockCopy, ExpandsNoFurtherThanOneStageCan) {
  for (const bool framed : {false, true}) {
    const std::string zeros(5'000'000, '\0');
    PartSession session(part_with({.header_text = "", .block = {.data = zeros}, .compressed = true}).build());
    if (framed) session.file().disk_length = 1000;
    EXPECT_EQ(copies_all(session.read(), CopyMode::check), !framed);
    EXPECT_EQ(has(session.output().err, "expand to more than 1032 times"), framed);
    EXPECT_EQ(copies_all(session, CopyMode::check), !framed);
  }
}

TEST(DataBlockCopy, ManyEntriesOfTheSameBytesAreRefused) {
  PartBuilder part = part_with({.block = {.data = sample_data(50'000)}});
  constexpr std::int32_t kMore = 20;
  constexpr std::uint64_t kPlace = 540 + 12 + (kMore + 1) * 20 + 4;
  for (std::int32_t id = 11; id < 11 + kMore; ++id)
    part.add({.id = id, .listed_offset = kPlace, .marker = ""});
  ASSERT_EQ(part.data_offset(0), kPlace);
  PartSession session(part.build());
  EXPECT_FALSE(copies_all(session.read(), CopyMode::check));
  EXPECT_TRUE(has(session.output().err, "partitions overlap"));
}

}  // namespace
