#include "cfi/compound/microsoft_storage_file.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>

#include "cfi/cfi_error_codes.h"
#include "cfi/compound/compound_file_format.h"
#include "support/printable.h"
#include "tests/support/captured.h"
#include "tests/support/compound_builder.h"
#include "tests/support/layout_guard.h"
#include "tests/support/memory_file.h"

namespace {

using namespace VRX::System::CFI;
using test_support::CompoundBuilder;
using test_support::MemoryFile;

constexpr std::uint32_t kRoot = 0;

/// Bytes that differ from place to place and from stream to stream.
std::string content(std::size_t size, unsigned seed = 1) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>((seed = seed * 1664525U + 1013904223U) >> 24U);
  return bytes;
}

std::u16string name_of(unsigned number) {
  const std::string name = std::to_string(number);
  return {name.begin(), name.end()};
}

std::string read_all(support::ByteSource& source) {
  std::string bytes;
  char piece[1000];
  while (const std::size_t got = source.read(piece, sizeof piece)) bytes.append(piece, got);
  return bytes;
}

/// An open file over the bytes of a builder.
struct OpenFile {
  explicit OpenFile(std::string_view bytes) : memory(bytes), channel(memory.name()), file(channel) {}
  MemoryFile memory;
  FileChannel channel;
  MicrosoftStorageFile file;
};

/// One line an element, in listing order; a stream's recorded size, and what could be read when that differs.
std::string listing(MicrosoftStorageFile& file, ElementId parent = kRootElement,
                    const std::string& path = {}) {
  std::string out;
  for (const ElementId id : file.children(parent)) {
    const ElementRecord record = file.record(id);
    const std::string own_path = path + "/" + support::printable(record.name);
    if (record.type == ElementType::storage) {
      out += own_path + "\n" + listing(file, id, own_path);
      continue;
    }
    const std::size_t got = read_all(*file.open_stream(id)).size();
    out += own_path + " " + std::to_string(record.size);
    out += got == record.size ? "\n" : " (" + std::to_string(got) + ")\n";
  }
  return out;
}

/// What opening a file and reading all of it come to.
struct Outcome {
  int code = 0;             ///< of the escape; 0 for none
  std::string listed = {};  ///< what is damaged behind it
  bool truncated = false;
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << outcome.code << (outcome.truncated ? " truncated\n" : "\n") << outcome.listed;
}

Outcome outcome_of(const MemoryFile& memory) {
  Outcome outcome;
  const std::string escape = test_support::escape_of([&] {
    FileChannel channel(memory.name());
    MicrosoftStorageFile file(channel);
    outcome.truncated = file.is_truncated();
    test_support::LayoutGuard guard(channel.size());
    file.lay_out(guard);
    EXPECT_TRUE(guard.all_inside());
    outcome.listed = listing(file);
    for (const std::string& line : file.damage()) outcome.listed += line + "\n";
  });
  outcome.code = std::atoi(escape.c_str());
  return outcome;
}

TEST(MicrosoftStorageFile, ReadsEveryLayout) {
  using enum CompoundBuilder::Siblings;
  const unsigned sizes[] = {0, 1, 63, 64, 65, 4095, 4096, 4097, 8192, 300'000};
  for (unsigned layout = 0; layout < 12; ++layout) {
    SCOPED_TRACE(layout);
    const std::uint32_t sector_size = layout % 2 == 0 ? 512 : 4096;
    CompoundBuilder builder(sector_size);
    builder.set_fragmented(layout / 2 % 2 == 1);
    builder.set_siblings(std::array{balanced, list_to_the_left, list_to_the_right}[layout / 4]);
    const std::uint32_t storage = builder.add_storage(kRoot, u"all");
    for (const unsigned size : sizes) builder.add_stream(storage, name_of(size), content(size, size));
    builder.compose();
    // Either size of sectors stands under either version.
    if (layout / 2 % 2 == 1) builder.put(compound::header::kMajorVersion, 2, sector_size == 512 ? 4 : 3);
    OpenFile open(builder.bytes());
    EXPECT_FALSE(open.file.is_truncated());
    for (const unsigned size : sizes) {
      const auto found =
          open.file.find_child(*open.file.find_child(kRootElement, "ALL"), std::to_string(size));
      ASSERT_TRUE(found) << size;
      const auto source = open.file.open_stream(*found);
      EXPECT_EQ(source->size(), size);
      EXPECT_TRUE(read_all(*source) == content(size, size)) << size;
      source->set_position(size / 2);
      EXPECT_TRUE(read_all(*source) == content(size, size).substr(size / 2)) << size;
    }
  }
}

TEST(MicrosoftStorageFile, FollowsFatThroughDifatAndManyRuns) {
  // More than 65,536 runs, and a FAT of two DIFAT sectors; read backwards, so that no piece follows on
  // another.
  const std::string wanted = content(std::size_t{35} << 20U);
  CompoundBuilder builder;
  builder.set_fragmented(true);
  const std::uint32_t stream = builder.add_stream(kRoot, u"large", wanted);
  builder.compose();
  ASSERT_GE(builder.difat_sectors().size(), 2U);
  OpenFile open(builder.bytes());
  const auto source = open.file.open_stream(*open.file.find_child(kRootElement, "large"));
  std::string piece(std::size_t{7} << 20U, '\0');
  for (std::size_t at = wanted.size(); at > 0;) {
    at -= piece.size();
    source->set_position(at);
    ASSERT_EQ(source->read(piece.data(), piece.size()), piece.size());
    ASSERT_TRUE(piece == std::string_view(wanted).substr(at, piece.size())) << at;
  }
  for (const std::uint32_t sector : builder.difat_sectors())
    builder.put(builder.sector_offset(sector) + 508, 4, builder.difat_sectors()[0]);
  const auto go_in_circles = [&] { OpenFile(builder.bytes()).file.open_stream(stream); };
  EXPECT_EQ(std::atoi(test_support::escape_of(go_in_circles).c_str()), kDamagedCompoundFile);
}

TEST(MicrosoftStorageFile, OrdersAndFindsNames) {
  CompoundBuilder builder;
  builder.set_siblings(CompoundBuilder::Siblings::list_as_added);
  builder.add_stream(builder.add_storage(kRoot, u"storage"), u"inside", "");
  for (const char16_t* name : {u"zz", u"B", u"a", u"longer", u"\u00E9t\u00E9", u"\u0416\u0443\u043A",
                               u"\U0001F529", u"x\xD83D", u"\x05Summary", u"_"})
    builder.add_stream(kRoot, name, "");
  builder.compose();
  OpenFile open(builder.bytes());
  EXPECT_EQ(listing(open.file),
            "/a 0\n/B 0\n/_ 0\n/x\\xED\\xA0\\xBD 0\n/zz 0\n/\U0001F529 0\n/\u00E9t\u00E9 0\n"
            "/\u0416\u0443\u043A 0\n/longer 0\n/storage\n/storage/inside 0\n/\\x05Summary 0\n");
  const auto has = [&](const char* name) { return open.file.find_child(kRootElement, name).has_value(); };
  for (const char* name :
       {"A", "b", "LONGER", "\u00C9T\u00C9", "\u0436\u0423\u041A", "X\xED\xA0\xBD", "\U0001F529"})
    EXPECT_TRUE(has(name)) << support::printable(name);
  for (const char* name : {"c", "longe", "", "\xFF", "\xC3"}) EXPECT_FALSE(has(name)) << name;
}

TEST(MicrosoftStorageFile, TellsClassIdsAndStreamsByName) {
  CompoundBuilder builder;
  const std::uint32_t inner = builder.add_storage(builder.add_storage(kRoot, u"aa"), u"c");
  builder.add_stream(kRoot, u"JT", "last");
  builder.add_stream(inner, u"jt", "first");
  builder.add_stream(builder.add_storage(kRoot, u"JT2"), u"JT", "never found before the others");
  builder.set_class_id(inner, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
  builder.compose();
  OpenFile open(builder.bytes());
  std::vector<std::uint64_t> sizes;
  for (const ElementId id : open.file.streams_named("JT")) sizes.push_back(open.file.record(id).size);
  EXPECT_EQ(sizes, (std::vector<std::uint64_t>{5, 4, 29}));
  const ElementId outer = *open.file.find_child(kRootElement, "aa");
  const ClassId wanted = {0x04030201, 0x0605, 0x0807, {9, 10, 11, 12, 13, 14, 15, 16}};
  EXPECT_EQ(open.file.record(*open.file.find_child(outer, "c")).class_id, wanted);
}

TEST(MicrosoftStorageFile, ManySiblingsAndDeepNestingAreNoTrouble) {
  using enum CompoundBuilder::Siblings;
  for (const auto siblings : {list_to_the_left, list_to_the_right}) {
    CompoundBuilder builder;
    builder.set_siblings(siblings);
    for (unsigned i = 0; i < 100'000; ++i) builder.add_stream(kRoot, name_of(i), "");
    builder.compose();
    OpenFile open(builder.bytes());
    EXPECT_EQ(open.file.children(kRootElement).size(), 100'000U);
    for (int i = 0; i < 100'000; i += 99) ASSERT_TRUE(open.file.find_child(kRootElement, std::to_string(i)));
    for (std::uint32_t entry = 1; entry <= 1000; ++entry) builder.put(builder.entry_offset(entry) + 66, 1, 9);
    OpenFile damaged(builder.bytes());
    EXPECT_EQ(damaged.file.children(kRootElement).size(), 99'000U) << "the siblings of bad entries stay";
    EXPECT_EQ(damaged.file.damage().size(), 21U);
    EXPECT_EQ(damaged.file.damage().back(), "980 more directory entries are damaged");
  }
  CompoundBuilder builder;
  std::uint32_t parent = kRoot;
  for (int i = 0; i < 10'000; ++i) parent = builder.add_storage(parent, std::u16string(31, u'n'));
  builder.add_stream(parent, u"deep", "x");
  builder.compose();
  OpenFile open(builder.bytes());
  EXPECT_EQ(open.file.streams_named("DEEP").size(), 1U);
}

/// A small tree for damage: two streams in sectors, two in mini sectors, one storage.
struct SmallFile : CompoundBuilder {
  explicit SmallFile(std::uint32_t sector_size = 512) : CompoundBuilder(sector_size) { compose(); }
  std::uint32_t root = kRoot;
  std::uint32_t storage = add_storage(kRoot, u"st");
  std::uint32_t large = add_stream(storage, u"large", content(5000, 2));
  std::uint32_t mini = add_stream(storage, u"mini", content(200, 3));
  std::uint32_t other = add_stream(kRoot, u"other", content(4500, 4));
  std::uint32_t tiny = add_stream(kRoot, u"tiny", content(10, 5));
};

const std::string kWhole = "/st\n/st/mini 200\n/st/large 5000\n/tiny 10\n/other 4500\n";

TEST(MicrosoftStorageFile, DamageIsNamedAndTheRestIsListed) {
  using namespace compound;
  const SmallFile f;
  const auto sectors = f.sectors(f.large);
  const auto large_link = [&](std::size_t number) { return f.fat_entry_offset(sectors[number]); };
  const std::size_t mini_link = f.mini_fat_entry_offset(f.sectors(f.mini)[1]);
  const std::size_t large_size = f.entry_offset(f.large) + entry::kStreamSize;
  const std::size_t tiny_name = f.entry_offset(f.tiny) + entry::kNameLength;
  const std::size_t tiny_left = f.entry_offset(f.tiny) + entry::kLeftSibling;
  const std::size_t other_right = f.entry_offset(f.other) + entry::kRightSibling;
  const std::size_t storage_child = f.entry_offset(f.storage) + entry::kChild;
  const std::string short_large = "/st\n/st/mini 200\n/st/large 5000 (1536)\n/tiny 10\n/other 4500\n";
  const std::string short_mini = "/st\n/st/mini 200 (128)\n/st/large 5000\n/tiny 10\n/other 4500\n";
  const std::string long_large = "/st\n/st/mini 200\n/st/large 4294967295 (5120)\n/tiny 10\n/other 4500\n";
  const std::string in_root = "/tiny 10\n/other 4500\ndamaged directory entry ";
  const std::string no_tiny = "/st\n/st/mini 200\n/st/large 5000\n/other 4500\ndamaged directory entry 5: ";
  const auto links = [](const std::string& from, const std::string& to) {
    return from + ": it links to entry " + to + ", as another entry does\n";
  };
  const std::tuple<std::size_t, unsigned, std::uint64_t, Outcome> cases[] = {
      {0, 1, 0xD0, {0, kWhole}},  // no damage
      {header::kSectorShift, 2, 10, {kInternalFailure}},
      {header::kMajorVersion, 2, 5, {kInternalFailure}},
      {header::kMiniSectorShift, 2, 60, {kDamagedCompoundFile}},
      {header::kMiniStreamCutoff, 4, 0, {kDamagedCompoundFile}},
      {header::kFatSectorCount, 4, 0xFFFFFFFF, {0, kWhole, true}},
      {header::kMiniFatSectorCount, 4, 1U << 30U, {0, kWhole, true}},
      {header::kFirstDirectorySector, 4, kEndOfChain, {kDamagedCompoundFile}},
      {header::kFirstDirectorySector, 4, 5000, {0, "", true}},
      {header::kFirstDirectorySector, 4, sectors[3], {kDamagedCompoundFile}},
      // Chains in a circle, that end early, and that leave the file or the mini stream.
      {large_link(6), 4, sectors[2], {kDamagedCompoundFile}},
      {large_link(9), 4, sectors[9], {kDamagedCompoundFile}},
      {mini_link, 4, f.sectors(f.mini)[0], {kDamagedCompoundFile}},
      {large_link(2), 4, kEndOfChain, {0, short_large}},
      {large_link(2), 4, 9999, {0, short_large, true}},
      {mini_link, 4, 99, {0, short_mini}},
      {large_size, 4, 0xFFFFFFFF, {0, long_large, true}},
      {large_size + 4, 4, 0xCAFE, {0, kWhole}},  // above a size of 32 bits
      {f.entry_offset(f.storage) + entry::kType, 1, 7, {0, in_root + "1: unknown type 7\n"}},
      {tiny_name, 2, 9, {0, no_tiny + "name of 9 bytes\n"}},
      {tiny_name, 2, 2, {0, no_tiny + "name of 2 bytes\n"}},
      {tiny_name, 2, 66, {0, no_tiny + "name of 66 bytes\n"}},
      // Links out of the directory, in a circle, of a storage to itself and to the root, and to nobody.
      {tiny_left, 4, 70000, {0, in_root + "5: it links to entry 70000 of 8\n"}},
      {other_right, 4, f.tiny, {0, kWhole + links("damaged directory entry 4", "5")}},
      {storage_child, 4, f.storage, {0, "/st\n" + links(in_root + "1", "1")}},
      {storage_child, 4, kRoot, {0, "/st\n" + links(in_root + "1", "0")}},
      {f.entry_offset(kRoot) + entry::kChild, 4, kFreeSector, {0}},
  };
  for (const auto& [offset, width, value, outcome] : cases) {
    SmallFile damaged;
    damaged.put(offset, width, value);
    EXPECT_EQ(outcome_of(MemoryFile(damaged.bytes())), outcome) << offset << ": " << value;
  }
}

TEST(MicrosoftStorageFile, OnlyAStreamsOwnBytesMakeAFileTruncated) {
  // Sizes beyond 32 bits count in version 4.
  SmallFile file(4096);
  file.put(file.entry_offset(file.large) + compound::entry::kStreamSize, 8, 5'368'709'121);
  const char* const huge = "/st\n/st/mini 200\n/st/large 5368709121 (8192)\n/tiny 10\n/other 4500\n";
  EXPECT_EQ(outcome_of(MemoryFile(file.bytes())), (Outcome{0, huge, true}));
  // The element, its own bytes in the file's last sector, and the listing with one of them missing.
  const std::tuple<std::uint32_t SmallFile::*, std::size_t, const char*> cases[] = {
      {&SmallFile::large, 392, "/st\n/st/mini 200\n/st/large 5000 (4999)\n/tiny 10\n/other 4500\n"},
      {&SmallFile::root, 266, "/st\n/st/mini 200\n/st/large 5000\n/tiny 10 (9)\n/other 4500\n"},
  };
  for (const auto& [element, own_bytes, listed] : cases) {
    SmallFile small;
    small.move_last_sector_to_end(small.*element);
    const std::string_view bytes = small.bytes();
    const std::size_t size = bytes.size() - 512 + own_bytes;
    EXPECT_EQ(outcome_of(MemoryFile(bytes.substr(0, size))), (Outcome{0, kWhole}));
    EXPECT_EQ(outcome_of(MemoryFile(bytes.substr(0, size - 1))), (Outcome{0, listed, true}));
  }
}

TEST(MicrosoftStorageFile, WholeFileCutAtEveryLength) {
  SmallFile whole;
  MemoryFile memory(whole.bytes());
  for (std::size_t length = whole.bytes().size(); length-- > 0;) {
    memory.set_length(length);
    const auto [code, listed, truncated] = outcome_of(memory);
    ASSERT_TRUE(code == 0 || code == kDamagedCompoundFile) << length << ": " << code;
    ASSERT_TRUE(code != 0 || truncated || listed == kWhole) << length << "\n" << listed;
  }
}

TEST(MicrosoftStorageFile, AnyByteMayBeWrong) {
  const SmallFile sound;
  const std::string& bytes = sound.bytes();
  MemoryFile memory(bytes);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    for (const char flip : {'\x01', '\x80', '\xFF'}) {
      const char wrong = static_cast<char>(bytes[i] ^ flip);
      memory.write_at(i, {&wrong, 1});
      const int code = outcome_of(memory).code;
      ASSERT_TRUE(code == 0 || code == kDamagedCompoundFile || code == kInternalFailure) << i << ": " << code;
    }
    memory.write_at(i, {&bytes[i], 1});
  }
}

}  // namespace
