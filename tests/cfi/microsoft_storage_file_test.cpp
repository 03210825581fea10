#include "cfi/compound/microsoft_storage_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "cfi/cfi_error_codes.h"
#include "cfi/compound/compound_file_format.h"
#include "support/printable.h"
#include "support/text_format.h"
#include "tests/support/captured.h"
#include "tests/support/compound_builder.h"
#include "tests/support/memory_file.h"

namespace {

using namespace VRX::System::CFI;
using test_support::CompoundBuilder;
using test_support::MemoryFile;

constexpr std::uint32_t kRoot = 0;
constexpr std::uint32_t kNobody = compound::kFreeSector;

/// Bytes that differ from place to place and from stream to stream.
std::string content(std::size_t size, unsigned seed = 1) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>((seed = seed * 1664525U + 1013904223U) >> 24U);
  return bytes;
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
std::string listing(MicrosoftStorageFile& file) {
  std::string out;
  std::vector<std::pair<ElementId, std::string>> to_visit = {{kRootElement, ""}};
  while (!to_visit.empty()) {
    const auto [id, path] = to_visit.back();
    to_visit.pop_back();
    const ElementRecord record = file.record(id);
    const std::string own_path = id == kRootElement ? "" : path + "/" + support::printable(record.name);
    if (record.type == ElementType::stream) {
      const std::size_t got = read_all(*file.open_stream(id)).size();
      out += support::format_text("%s %llu", own_path.c_str(), static_cast<unsigned long long>(record.size));
      out += got == record.size ? "\n" : support::format_text(" (%zu)\n", got);
    } else if (id != kRootElement) {
      out += own_path + "\n";
    }
    std::vector<ElementId> children = file.children(id);
    std::ranges::reverse(children);
    for (const ElementId child : children) to_visit.emplace_back(child, own_path);
  }
  return out;
}

/// What opening a file and reading all of it come to.
struct Outcome {
  int code = 0;  ///< of the escape; 0 for none
  bool truncated = false;
  std::string listed = {};  ///< what is damaged behind it
};

Outcome outcome_of(const MemoryFile& memory) {
  Outcome outcome;
  const std::string escape = test_support::escape_of([&] {
    FileChannel channel(memory.name());
    MicrosoftStorageFile file(channel);
    outcome.truncated = file.is_truncated();
    outcome.listed = listing(file);
    for (const std::string& line : file.damage()) outcome.listed += line + "\n";
  });
  outcome.code = std::atoi(escape.c_str());
  return outcome;
}

TEST(MicrosoftStorageFile, ReadsEveryLayout) {
  using enum CompoundBuilder::Siblings;
  for (const std::uint32_t sector_size : {512U, 4096U}) {
    for (const bool fragmented : {false, true}) {
      for (const auto siblings : {balanced, list_to_the_left, list_to_the_right}) {
        CompoundBuilder builder(sector_size);
        builder.set_fragmented(fragmented);
        builder.set_siblings(siblings);
        const std::size_t sizes[] = {0, 1, 63, 64, 65, 4095, 4096, 4097, 8192, 300'000};
        const std::uint32_t storage = builder.add_storage(kRoot, u"all");
        for (const std::size_t size : sizes) {
          const std::string name = std::to_string(size);
          builder.add_stream(storage, {name.begin(), name.end()}, content(size, static_cast<unsigned>(size)));
        }
        builder.compose();
        // Either size of sectors stands under either version.
        if (fragmented) builder.put(compound::header::kMajorVersion, 2, sector_size == 512 ? 4 : 3);
        OpenFile open(builder.bytes());
        SCOPED_TRACE(support::format_text("sectors of %u, fragmented %d, siblings %d", sector_size,
                                          fragmented, static_cast<int>(siblings)));
        EXPECT_FALSE(open.file.is_truncated());
        for (const std::size_t size : sizes) {
          const auto found =
              open.file.find_child(*open.file.find_child(kRootElement, "ALL"), std::to_string(size));
          ASSERT_TRUE(found) << size;
          const std::string wanted = content(size, static_cast<unsigned>(size));
          const auto source = open.file.open_stream(*found);
          EXPECT_EQ(source->size(), size);
          EXPECT_TRUE(read_all(*source) == wanted) << size;
          source->set_position(size / 2);
          EXPECT_TRUE(read_all(*source) == wanted.substr(size / 2)) << size;
        }
      }
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
  {
    OpenFile open(builder.bytes());
    const auto source = open.file.open_stream(*open.file.find_child(kRootElement, "large"));
    std::string piece(std::size_t{7} << 20U, '\0');
    for (std::size_t at = wanted.size(); at > 0;) {
      at -= piece.size();
      source->set_position(at);
      ASSERT_EQ(source->read(piece.data(), piece.size()), piece.size());
      ASSERT_TRUE(piece == std::string_view(wanted).substr(at, piece.size())) << at;
    }
  }
  builder.put(builder.sector_offset(builder.difat_sectors()[1]) + 508, 4, builder.difat_sectors()[0]);
  builder.put(builder.sector_offset(builder.difat_sectors()[0]) + 508, 4, builder.difat_sectors()[0]);
  EXPECT_TRUE(test_support::escape_of([&] {
                OpenFile(builder.bytes()).file.open_stream(stream);
              }).starts_with(std::to_string(kDamagedCompoundFile)));
}

TEST(MicrosoftStorageFile, OrdersAndFindsNames) {
  CompoundBuilder builder;
  builder.set_siblings(CompoundBuilder::Siblings::list_as_added);
  builder.add_stream(builder.add_storage(kRoot, u"storage"), u"inside", "");
  for (const char16_t* name : {u"zz", u"B", u"a", u"longer", u"\u00E9t\u00E9", u"\u0416\u0443\u043A",
                               u"\U0001F529", u"x\xD83D", u"\x05Summary", u"_"}) {
    builder.add_stream(kRoot, name, "");
  }
  builder.compose();
  OpenFile open(builder.bytes());
  EXPECT_EQ(listing(open.file),
            "/a 0\n/B 0\n/_ 0\n/x\\xED\\xA0\\xBD 0\n/zz 0\n/\U0001F529 0\n/\u00E9t\u00E9 0\n"
            "/\u0416\u0443\u043A 0\n/longer 0\n/storage\n/storage/inside 0\n/\\x05Summary 0\n");
  for (const char* name :
       {"A", "b", "LONGER", "\u00C9T\u00C9", "\u0436\u0423\u041A", "X\xED\xA0\xBD", "\U0001F529"}) {
    EXPECT_TRUE(open.file.find_child(kRootElement, name)) << support::printable(name);
  }
  for (const char* name : {"c", "longe", "", "\xFF", "\xC3"}) {
    EXPECT_FALSE(open.file.find_child(kRootElement, name)) << support::printable(name);
  }
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
  std::string sizes;
  for (const ElementId id : open.file.streams_named("JT"))
    sizes += std::to_string(open.file.record(id).size) + " ";
  EXPECT_EQ(sizes, "5 4 29 ");
  const ElementId outer = *open.file.find_child(kRootElement, "aa");
  const ClassId wanted = {0x04030201, 0x0605, 0x0807, {9, 10, 11, 12, 13, 14, 15, 16}};
  EXPECT_EQ(open.file.record(*open.file.find_child(outer, "c")).class_id, wanted);
}

TEST(MicrosoftStorageFile, ManySiblingsAndDeepNestingAreNoTrouble) {
  using enum CompoundBuilder::Siblings;
  for (const auto siblings : {list_to_the_left, list_to_the_right}) {
    CompoundBuilder builder;
    builder.set_siblings(siblings);
    for (int i = 0; i < 100'000; ++i) {
      const std::string name = std::to_string(i);
      builder.add_stream(kRoot, {name.begin(), name.end()}, "");
    }
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
  struct Case {
    std::size_t offset;
    unsigned width;
    std::uint64_t value;
    int code;  ///< of opening the file or of reading one of its streams
    std::string listed = {};
    bool truncated = false;
  };
  using namespace compound;
  const SmallFile f;
  const auto sectors = f.sectors(f.large);
  const auto large_link = [&](std::size_t number) { return f.fat_entry_offset(sectors[number]); };
  const std::size_t mini_link = f.mini_fat_entry_offset(f.sectors(f.mini)[1]);
  const std::size_t large_size = f.entry_offset(f.large) + entry::kStreamSize;
  const std::size_t tiny_name = f.entry_offset(f.tiny) + entry::kNameLength;
  const std::size_t storage_child = f.entry_offset(f.storage) + entry::kChild;
  const std::string short_large = "/st\n/st/mini 200\n/st/large 5000 (1536)\n/tiny 10\n/other 4500\n";
  const std::string short_mini = "/st\n/st/mini 200 (128)\n/st/large 5000\n/tiny 10\n/other 4500\n";
  const std::string long_large = "/st\n/st/mini 200\n/st/large 4294967295 (5120)\n/tiny 10\n/other 4500\n";
  const std::string in_root = "/tiny 10\n/other 4500\ndamaged directory entry ";
  const std::string no_tiny = "/st\n/st/mini 200\n/st/large 5000\n/other 4500\ndamaged directory entry 5: ";
  const auto links = [](const std::string& from, const std::string& to) {
    return from + ": it links to entry " + to + ", as another entry does\n";
  };
  const Case cases[] = {
      {0, 1, 0xD0, 0, kWhole},  // no damage
      {header::kSectorShift, 2, 10, kInternalFailure},
      {header::kMajorVersion, 2, 5, kInternalFailure},
      {header::kMiniSectorShift, 2, 60, kDamagedCompoundFile},
      {header::kMiniStreamCutoff, 4, 0, kDamagedCompoundFile},
      {header::kFatSectorCount, 4, 0xFFFFFFFF, 0, kWhole, true},
      {header::kMiniFatSectorCount, 4, 1U << 30U, 0, kWhole, true},
      {header::kFirstDirectorySector, 4, kEndOfChain, kDamagedCompoundFile},
      {header::kFirstDirectorySector, 4, 5000, 0, "", true},
      {header::kFirstDirectorySector, 4, sectors[3], kDamagedCompoundFile},
      // Chains in a circle, that end early, and that leave the file or the mini stream.
      {large_link(6), 4, sectors[2], kDamagedCompoundFile},
      {large_link(9), 4, sectors[9], kDamagedCompoundFile},
      {mini_link, 4, f.sectors(f.mini)[0], kDamagedCompoundFile},
      {large_link(2), 4, kEndOfChain, 0, short_large},
      {large_link(2), 4, 9999, 0, short_large, true},
      {mini_link, 4, 99, 0, short_mini},
      {large_size, 4, 0xFFFFFFFF, 0, long_large, true},
      {large_size + 4, 4, 0xCAFE, 0, kWhole},  // above a size of 32 bits
      {f.entry_offset(f.storage) + entry::kType, 1, 7, 0, in_root + "1: unknown type 7\n"},
      {tiny_name, 2, 9, 0, no_tiny + "name of 9 bytes\n"},
      {tiny_name, 2, 2, 0, no_tiny + "name of 2 bytes\n"},
      {tiny_name, 2, 66, 0, no_tiny + "name of 66 bytes\n"},
      // Links out of the directory, in a circle, of a storage to itself and to the root, and to nobody.
      {f.entry_offset(f.tiny) + entry::kLeftSibling, 4, 70000, 0,
       in_root + "5: it links to entry 70000 of 8\n"},
      {f.entry_offset(f.other) + entry::kRightSibling, 4, f.tiny, 0,
       kWhole + links("damaged directory entry 4", "5")},
      {storage_child, 4, f.storage, 0, "/st\n" + links(in_root + "1", "1")},
      {storage_child, 4, kRoot, 0, "/st\n" + links(in_root + "1", "0")},
      {f.entry_offset(kRoot) + entry::kChild, 4, kNobody, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(support::format_text("%zu: %llu", c.offset, static_cast<unsigned long long>(c.value)));
    SmallFile damaged;
    damaged.put(c.offset, c.width, c.value);
    const Outcome outcome = outcome_of(MemoryFile(damaged.bytes()));
    EXPECT_EQ(outcome.code, c.code);
    EXPECT_EQ(outcome.listed, c.listed);
    EXPECT_EQ(outcome.truncated, c.truncated);
  }
}

TEST(MicrosoftStorageFile, SizesBeyond32BitsAreListedInVersion4) {
  SmallFile file(4096);
  file.put(file.entry_offset(file.large) + compound::entry::kStreamSize, 8, 5'368'709'121);
  OpenFile open(file.bytes());
  EXPECT_EQ(listing(open.file), "/st\n/st/mini 200\n/st/large 5368709121 (8192)\n/tiny 10\n/other 4500\n");
  EXPECT_TRUE(open.file.is_truncated());
}

TEST(MicrosoftStorageFile, OnlyAStreamsOwnBytesMakeAFileTruncated) {
  struct Case {
    std::uint32_t SmallFile::*element;
    std::size_t own_bytes;  // in the file's last sector
    const char* listed;     // with one of them missing
  };
  const Case cases[] = {
      {&SmallFile::large, 392, "/st\n/st/mini 200\n/st/large 5000 (4999)\n/tiny 10\n/other 4500\n"},
      {&SmallFile::root, 266, "/st\n/st/mini 200\n/st/large 5000\n/tiny 10 (9)\n/other 4500\n"},
  };
  for (const Case& c : cases) {
    SmallFile small;
    small.move_last_sector_to_end(small.*c.element);
    const std::string_view bytes = small.bytes();
    const std::size_t padding = 512 - c.own_bytes;
    const auto whole = outcome_of(MemoryFile(bytes.substr(0, bytes.size() - padding)));
    EXPECT_FALSE(whole.truncated) << c.listed;
    EXPECT_EQ(whole.listed, kWhole);
    const auto cut = outcome_of(MemoryFile(bytes.substr(0, bytes.size() - padding - 1)));
    EXPECT_TRUE(cut.truncated);
    EXPECT_EQ(cut.listed, c.listed);
  }
}

TEST(MicrosoftStorageFile, WholeFileCutAtEveryLength) {
  SmallFile whole;
  MemoryFile memory(whole.bytes());
  for (std::size_t length = whole.bytes().size(); length-- > 0;) {
    memory.set_length(length);
    const auto [code, truncated, listed] = outcome_of(memory);
    ASSERT_TRUE(code == 0 || code == kDamagedCompoundFile) << length << ": " << code;
    ASSERT_TRUE(code != 0 || truncated || listed == kWhole) << length << "\n" << listed;
  }
}

TEST(MicrosoftStorageFile, AnyByteMayBeWrong) {
  const SmallFile sound;
  const std::string& bytes = sound.bytes();
  MemoryFile memory(bytes);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    for (const unsigned flip : {0x01U, 0x80U, 0xFFU}) {
      const char wrong = static_cast<char>(static_cast<unsigned char>(bytes[i]) ^ flip);
      memory.write_at(i, {&wrong, 1});
      const int code = outcome_of(memory).code;
      ASSERT_TRUE(code == 0 || code == kDamagedCompoundFile || code == kInternalFailure) << i << ": " << code;
    }
    memory.write_at(i, {&bytes[i], 1});
  }
}

}  // namespace
