#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "cfi/flat/cfi_storage.h"
#include "tests/support/captured.h"
#include "tests/support/compound_builder.h"
#include "tests/support/program_runner.h"

using namespace VRX::System::CFI;
using test_support::escape_of;
using test_support::TemporaryFolder;

namespace {

constexpr ClassId kClass = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

/// Path below the root to bytes.
using Streams = std::map<std::string, std::string>;

std::string pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7 + i / 251) % 253);
  return bytes;
}

// What a shell command writes to standard output; its status must be 0.
std::string output_of(const std::string& command) {
  std::string out;
  std::FILE* const pipe = ::popen(command.c_str(), "r");
  std::array<char, 4096> piece = {};
  while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), pipe))
    out.append(piece.data(), got);
  EXPECT_EQ(::pclose(pipe), 0) << command;
  return out;
}

class CompoundWriting : public testing::TestWithParam<int> {
 protected:
  CFI_storage_t open(const char* options) const {
    return CFI_open_storage_file(name, options, "limit_names,compound", GetParam());
  }
  static void write(CFI_storage_t storage, const std::string& path, const char* options,
                    std::string_view bytes) {
    const std::size_t slash = path.find('/');
    if (slash != std::string::npos) {
      const std::string first = path.substr(0, slash);
      const bool is_there = CFI_ask_if_storage_child_exists(storage, first);
      const OwnedStorage below(CFI_open_storage(storage, first, is_there ? "W" : "N"));
      return write(below.get(), path.substr(slash + 1), options, bytes);
    }
    const OwnedStream stream(CFI_open_stream(storage, path, options));
    EXPECT_EQ(CFI__write_to_stream(stream.get(), bytes.size(), bytes.data()), bytes.size());
    EXPECT_GE(CFI_ask_stream_stats(stream.get()).size, bytes.size());
  }
  static void collect(CFI_storage_t storage, const std::string& path, Streams& found) {
    for (const ElementRecord& record : CFI_ask_storage_contents(storage)) {
      if (record.type == ElementType::storage) {
        const OwnedStorage below(CFI_open_storage(storage, record.name, "R"));
        collect(below.get(), path + record.name + "/", found);
      } else {
        const OwnedStream stream(CFI_open_stream(storage, record.name, "R"));
        std::string bytes(record.size, '\0');
        EXPECT_EQ(CFI__read_from_stream(stream.get(), bytes.size(), bytes.data()), bytes.size());
        found[path + record.name] = bytes;
      }
    }
  }
  std::string read_independently() const {
    return output_of("/usr/bin/python3 " VRII_SAMPLES "/../tests/cfi/read_compound_file.py " + name);
  }
  // By our reader and by two others.
  void expect(const Streams& wanted) const {
    Streams found;
    const OwnedStorage root(CFI_open_storage_file(name, "R"));
    EXPECT_TRUE(CFI_storage_file(root.get()).damage().empty());
    EXPECT_FALSE(CFI_storage_file(root.get()).is_truncated());
    collect(root.get(), "", found);
    EXPECT_TRUE(found == wanted);
    const std::string shown = read_independently();
    for (const auto& [path, bytes] : wanted) {
      const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
      const std::string crc = std::to_string(::crc32(0, data, static_cast<unsigned>(bytes.size()))) + "\n";
      EXPECT_NE(("\n" + shown).find("\n" + path + " " + std::to_string(bytes.size()) + " " + crc),
                std::string::npos)
          << path;
      EXPECT_TRUE(output_of("gsf cat " + name + " '" + path + "'") == bytes) << path;
    }
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(shown, '\n')), wanted.size());
  }

  TemporaryFolder folder;
  const std::string name = folder.path() / "part.prt";
};

INSTANTIATE_TEST_SUITE_P(SectorSizes, CompoundWriting, testing::Values(512, 4096));

}  // namespace

TEST_P(CompoundWriting, IsReadByOthersAsItWasWritten) {
  Streams wanted = {{"VR_PART/VR_PART", pattern(100'000)},
                    {"empty", ""},
                    {"short", "s"},
                    {"VR_PART/mini", pattern(4095)},
                    {"VR_PART/sectors", pattern(4096)},
                    {"deep/er/still/stream", pattern(65)}};
  for (int i = 0; i < 20; ++i) wanted["many/" + std::string(1, "aBcDeFgHiJkLmNoPqRsT"[i])] = pattern(60 + i);
  for (int i = 0; i < 5; ++i) wanted["some/name" + std::to_string(i)] = pattern(2000);
  if (GetParam() == 512) wanted["needs a DIFAT"] = pattern(std::size_t{16} << 20);
  CFI_storage_t root = open("N");
  for (const auto& [path, bytes] : wanted) write(root, path, "N", bytes);
  CFI_set_storage_class(root, kClass);
  EXPECT_EQ(CFI_close_storage(root), 0);
  expect(wanted);

  root = open("W");
  EXPECT_EQ(CFI_get_storage_class(root), kClass);
  const auto update = [&](const std::string& path, const std::string& bytes) {
    write(root, path, "W", bytes);
    wanted[path] = bytes + (bytes.size() < wanted[path].size() ? wanted[path].substr(bytes.size()) : "");
  };
  update("short", pattern(5000));
  update("VR_PART/VR_PART", "begins anew");
  CFI_copy_storage_element(root, "many", root, "copied");
  for (int i = 0; i < 20; ++i) {
    const std::string letter(1, "aBcDeFgHiJkLmNoPqRsT"[i]);
    wanted["copied/" + letter] = wanted["many/" + letter];
  }
  {
    const OwnedStream stream(CFI_open_stream(root, "shrinks", "N"));
    const std::string old(9000, 'o');
    CFI__write_to_stream(stream.get(), old.size(), old.data());
    write(root, "behind", "N", pattern(6000));
    wanted["behind"] = pattern(6000);
    const int channel = CFI_convert_stream_to_fileid(stream.get());
    EXPECT_EQ(::ftruncate(channel, 5000), 0);
    EXPECT_EQ(::ftruncate(channel, 5500), 0);
    CFI_release_stream_fileid(stream.get(), channel);
    wanted["shrinks"] = std::string(5000, 'o') + std::string(500, '\0');
  }
  EXPECT_EQ(CFI_close_storage(root), 0);
  expect(wanted);
  EXPECT_EQ(folder.read("part.prt").find(std::string(5001, 'o')), std::string::npos);
}

TEST_P(CompoundWriting, RefusesWhatTheFormatDoesNotHold) {
  OwnedStorage root(open("N"));
  write(root.get(), "Stream", "N", "s");
  const OwnedStream big(CFI_open_stream(root.get(), "big", "N"));
  const std::uint64_t limit = GetParam() == 512 ? std::uint64_t{1} << 31 : std::uint64_t{1} << 44;
  const auto write_behind = [&](std::uint64_t position) {
    CFI_stream_source(big.get()).set_position(position);
    CFI__write_to_stream(big.get(), 1, "b");
  };
  const std::pair<std::function<void()>, int> rows[] = {
      {[&] { CFI_open_stream(root.get(), "sTREAM", "N"); }, 1021252},
      {[&] { CFI_open_stream(root.get(), "a:b", "N"); }, 1021253},
      {[&] { CFI_open_storage(root.get(), "\xFF", "N"); }, 1021253},
      {[&] { CFI_open_stream(root.get(), "Stream", "R"); }, 1021254},
      {[&] { CFI_open_stream(root.get(), "big", "R"); }, 1021253},
      {[&] { CFI_open_stream(root.get(), "big", "W"); }, 1021253},
      {[&] { CFI_open_storage(root.get(), "Stream", "W"); }, 1021253},
      {[&] { write_behind(limit); }, 1021254},
      {[&] { write_behind(INT64_MAX); }, 1020059},
  };
  for (const auto& [call, code] : rows) EXPECT_EQ(std::atoi(escape_of(call).c_str()), code);
}

TEST_P(CompoundWriting, UpdatesNoDamagedFile) {
  test_support::CompoundBuilder builder(static_cast<std::uint32_t>(GetParam()));
  const std::uint32_t stream = builder.add_stream(0, u"stream", pattern(9000));
  const std::uint32_t other = builder.add_stream(0, u"other", "o");
  builder.compose();
  folder.write("part.prt", builder.bytes().substr(0, 8000));
  EXPECT_EQ(std::atoi(escape_of([&] { open("W"); }).c_str()), 1020023);
  builder.put(builder.entry_offset(other) + 66, 1, 9);
  folder.write("part.prt", builder.bytes());
  EXPECT_EQ(std::atoi(escape_of([&] { open("W"); }).c_str()), 1021266);
  EXPECT_EQ(folder.read("part.prt"), builder.bytes());
  EXPECT_GT(builder.sectors(stream).size(), 1U);
}

TEST(CompoundWritingAtLength, HoldsStreamsOfSeveralGigabytes) {
  const TemporaryFolder folder;
  const std::string name = folder.path() / "part.prt";
  constexpr std::uint64_t kFar = (std::uint64_t{4} << 30) + 12345;
  CFI_storage_t root = CFI_open_storage_file(name, "N", "compound");
  CFI_stream_t stream = CFI_open_stream(root, "far", "N");
  for (const std::uint64_t position : {std::uint64_t{3} << 30, kFar}) {
    CFI_stream_source(stream).set_position(position);
    CFI__write_to_stream(stream, 3, "far");
  }
  EXPECT_EQ(CFI_close_stream(stream), 0);
  EXPECT_EQ(CFI_close_storage(root), 0);
  const OwnedStorage again(CFI_open_storage_file(name, "R"));
  const OwnedStream far(CFI_open_stream(again.get(), "far", "R"));
  EXPECT_EQ(CFI_ask_stream_stats(far.get()).size, kFar + 3);
  for (const std::uint64_t position : {(std::uint64_t{3} << 30) - 1, kFar - 1}) {
    std::string bytes(4, 'x');
    CFI__set_stream_absolute_pos(far.get(), position);
    EXPECT_EQ(CFI__read_from_stream(far.get(), 4, bytes.data()), 4U);
    EXPECT_EQ(bytes, std::string("\0far", 4));
  }
  EXPECT_EQ(output_of("/usr/bin/python3 " VRII_SAMPLES "/../tests/cfi/read_compound_file.py " + name),
            "far " + std::to_string(kFar + 3) + " 0\n");
}
