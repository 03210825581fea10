#include "cfi/lz4_decompress_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "cfi/expanded_source.h"
#include "support/limits.h"
#include "tests/support/captured.h"
#include "tests/support/lz4_frame.h"

namespace {

using namespace VRX::System::CFI;
using test_support::int32_bytes;
using test_support::lz4_frame;

/// Compresses well, and across blocks: words in random order.
std::string sample_text(std::size_t size) {
  std::mt19937 random(3);
  std::string text;
  while (text.size() < size)
    text += "word" + std::to_string(random() % 5000) + (random() % 9 == 0 ? "\n" : " ");
  text.resize(size);
  return text;
}

support::MemorySource source_of(const std::string& bytes) {
  return support::MemorySource(std::as_bytes(std::span(bytes)));
}

TEST(LZ4DecompressStream, DeliversTheSameBytesHoweverTheyAreAskedFor) {
  const std::string text = sample_text(700'001);
  const std::vector<std::size_t> block_sizes[] = {
      {65536}, {65535}, {20'000}, {1}, {65536, 1000}, {65536, 65536, 1000}, {65536, 65536, 1, 500}};
  for (const auto& blocks : block_sizes) {
    const std::string content = text.substr(0, blocks.front() == 1 ? 300 : text.size());
    const std::string frame = lz4_frame(content, blocks);
    for (const std::size_t piece : {1'000'000u, 524'288u, 131'072u, 131'071u, 65'536u, 4096u, 777u}) {
      support::MemorySource inner = source_of(frame);
      LZ4DecompressStream stream(inner);
      std::string got;
      std::string buffer(piece, '?');
      LZ4DecompressStream::ReadResult result;
      do {
        buffer.assign(piece, '?');  // the caller's memory is the caller's between the reads
        result = stream.read(buffer.data(), static_cast<std::int64_t>(piece));
        got.append(buffer, 0, result.bytes_read);
      } while (result.bytes_read == piece);
      EXPECT_EQ(result.status, 0);
      EXPECT_EQ(stream.position(), content.size());
      EXPECT_TRUE(got == content) << testing::PrintToString(blocks) << " in pieces of " << piece;
    }
  }
}

TEST(LZ4DecompressStream, EndsWithTheStatusOfTheDamage) {
  const std::string sound = lz4_frame("sound block");
  const std::pair<std::string, int> cases[] = {
      {"", 1020029},
      {"LZ4", 1020029},
      {"LZ4\x02", 1020029},
      {"LZ4\x01", 0},
      {sound, 0},
      {sound + int32_bytes(0), 1020029},
      {sound + int32_bytes(0x80000000), 1020029},
      {sound + int32_bytes(65810) + std::string(65810, 'x'), 1020204},
      {sound + int32_bytes(65809) + "x", 1020023},
      {sound + std::string(3, '\0'), 1020023},
      // Blocks that expand to nothing, or that are no LZ4, end it.
      {sound + int32_bytes(1) + '\0' + sound.substr(4), 0},
      {sound + int32_bytes(4) + "\xFF\xFF\xFF\xFF" + sound.substr(4), 0}};
  for (const auto& [frame, wanted_status] : cases) {
    support::MemorySource inner = source_of(frame);
    LZ4DecompressStream stream(inner);
    std::string buffer(200'000, '?');
    for (const std::size_t expected : {frame.starts_with(sound) ? 11U : 0U, 0U}) {
      const auto [bytes_read, status] = stream.read(buffer.data(), 200'000);
      EXPECT_EQ(std::pair(bytes_read, status), std::pair(expected, wanted_status)) << frame.substr(0, 40);
    }
  }
}

TEST(LZ4DecompressStream, SeeksForwardOnly) {
  const std::string text = sample_text(300'000);
  const std::string frame = lz4_frame(text);
  support::MemorySource inner = source_of(frame);
  LZ4DecompressStream stream(inner);
  const auto expect_seek = [&](std::int64_t offset, int origin, std::uint64_t wanted, int wanted_status) {
    const auto [position, status] = stream.seek(offset, origin);
    EXPECT_EQ(std::pair(position, status), std::pair(wanted, wanted_status)) << offset;
  };
  expect_seek(0, 2, 0, 1021254);  // the end is no origin
  for (int i = 0; i < 2; ++i) expect_seek(200'000, 0, 200'000, 0);
  expect_seek(0, 1, 200'000, 0);
  expect_seek(199'999, 0, 200'000, 1021254);
  expect_seek(-1, 1, 200'000, 1021254);
  expect_seek(50'000, 1, 250'000, 0);
  std::string rest(50'000, '?');
  EXPECT_EQ(stream.read(rest.data(), 50'000).bytes_read, 50'000U);
  EXPECT_TRUE(rest == text.substr(250'000));
  EXPECT_EQ(stream.seek(1, 1).status, 1020023);
  std::string bad("nope");
  support::MemorySource no_frame = source_of(bad);
  EXPECT_EQ(LZ4DecompressStream(no_frame).seek(0, 0).status, 1020029);
}

TEST(ExpandedSource, ReadsAtAnyPosition) {
  const std::string text = sample_text(300'000);
  const std::string frame = lz4_frame(text);
  const auto expanded_when_framed = [](std::string_view bytes) {
    return expand_when_framed(std::make_unique<support::MemorySource>(std::as_bytes(std::span(bytes))), "T");
  };
  const auto plain = expanded_when_framed(text);
  const auto expanded = expanded_when_framed(frame);
  support::MemorySource inner = source_of(frame);
  const ExpandedFile file = expand_to_temporary_file(inner, "T", frame.size());
  EXPECT_FALSE(file.failure);
  for (support::ByteSource* source : {plain.get(), expanded.get(), file.source.get()}) {
    for (const std::uint64_t at : {250'000u, 10u, 299'990u, 400'000u, 0u}) {
      std::string got(20, '?');
      source->set_position(at);
      got.resize(source->read(got.data(), got.size()));
      EXPECT_EQ(got, at > text.size() ? "" : text.substr(at, 20)) << at;
      EXPECT_EQ(source->size(), text.size());
    }
  }
}

TEST(ExpandedSource, NamesStreamAndStatusOfADamagedFrame) {
  const std::string text = sample_text(100'000);
  const std::string frame = lz4_frame(text) + "x";
  support::MemorySource inner = source_of(frame);
  ExpandedSource source(inner, "COMPATIBILITY");
  std::string got(200'000, '?');
  EXPECT_EQ(source.read(got.data(), got.size()), text.size());
  const auto expect_failure = [](const std::string& name, const auto& action) {
    const std::string escape = test_support::escape_of(action);
    EXPECT_NE(escape.find(name + " ends with status 1020023"), std::string::npos) << escape;
  };
  expect_failure("COMPATIBILITY", [&] { (void)source.size(); });
  for (const std::uint64_t at : {std::uint64_t{text.size()}, std::uint64_t{500'000}}) {
    source.set_position(at);
    expect_failure("COMPATIBILITY", [&] { source.read(got.data(), 1); });
  }
  const ExpandedFile file = expand_to_temporary_file(inner, "VR_PART", frame.size());
  EXPECT_EQ(file.source->size(), text.size());
  expect_failure("VR_PART", [&] { throw *file.failure; });
}

TEST(ExpandedSource, EndsWhereAFrameSaysFarMoreThanIsStored) {
  // Just within the floor, beyond it, and beyond it in a frame whose stored bytes allow for that.
  std::string varied(std::size_t{400'000}, '\0');
  std::mt19937 random(5);
  std::ranges::generate(varied, [&] { return static_cast<char>(random()); });
  const std::pair<std::string, bool> rows[] = {
      {std::string(limits::kExpansionFloor, 'x'), true},
      {std::string(limits::kExpansionFloor + 1, 'x'), false},
      {std::string(limits::kExpansionFloor + 1, 'x') + varied, true}};
  for (const auto& [text, is_sound] : rows) {
    const std::string frame = lz4_frame(text);
    support::MemorySource inner = source_of(frame);
    ExpandedSource source(inner, "T");
    std::string got(text.size(), '?');
    EXPECT_EQ(source.read(got.data(), got.size()), is_sound ? text.size() : limits::kExpansionFloor);
    source.set_position(text.size() + 5);
    const auto expand = [&] {
      const ExpandedFile file = expand_to_temporary_file(inner, "T", frame.size());
      if (file.failure) throw *file.failure;
    };
    EXPECT_EQ(test_support::escape_of([&] { (void)source.size(); }).empty(), is_sound);
    EXPECT_EQ(test_support::escape_of([&] { source.read(got.data(), 1); }).empty(), is_sound);
    EXPECT_EQ(test_support::escape_of(expand).empty(), is_sound);
  }
}

}  // namespace
