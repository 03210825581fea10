#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "cfi/kvpm/header_paths.h"
#include "cfi/kvpm/kvpm_storage_file.h"
#include "cfi/writing/index_writer.h"
#include "tests/support/captured.h"
#include "tests/support/container_builder.h"
#include "tests/support/layout_guard.h"
#include "tests/support/memory_file.h"
#include "tests/support/program_runner.h"

using namespace VRX::System::CFI;
using test_support::ContainerBuilder;
using test_support::ContainerDamage;
using test_support::MemoryFile;

namespace {

constexpr ClassId kPartClass = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};

struct Opened {
  explicit Opened(const std::string& bytes) : memory(bytes), channel(memory.name()), file(channel) {}

  std::optional<ElementId> find(std::initializer_list<const char*> names) {
    std::optional<ElementId> element = kRootElement;
    for (const char* name : names) {
      element = file.find_child(*element, name);
      if (!element) return std::nullopt;
    }
    return element;
  }
  std::string read(std::initializer_list<const char*> names) {
    const auto source = file.open_stream(find(names).value());
    std::string bytes(static_cast<std::size_t>(source->size()), '\0');
    return bytes.substr(0, source->read(bytes.data(), bytes.size()));
  }
  // Names in listing order, "name/" for storages.
  std::string listing(ElementId storage) {
    std::string names;
    for (const ElementId child : file.children(storage)) {
      const ElementNode node = file.node(child);
      names += std::string(node.name) + (node.type == ElementType::storage ? "/ " : " ");
    }
    return names;
  }

  MemoryFile memory;
  FileChannel channel;
  KVPMStorageFile file;
};

// Header: Root, VR_PART with its stream, FastLoad/JT. Footer: images2/a, VR_PART/JT.
ContainerBuilder small_container(int version) {
  ContainerBuilder builder(version);
  builder.header_area(512).storage("/Root/VR_PART", kPartClass).part_header("\x0D\x01\x02\x03");
  builder.stream("/Root/VR_PART/VR_PART", "the part").stream("/Root/FastLoad/JT", "fast jt");
  return builder.stream("/Root/images2/a", "picture").stream("/Root/VR_PART/JT", "jt");
}

std::string outcome(const std::string& bytes, const std::function<void(Opened&)>& use) {
  return test_support::escape_of([&] {
    Opened opened(bytes);
    test_support::LayoutGuard guard(bytes.size());
    opened.file.lay_out(guard);
    EXPECT_TRUE(guard.all_inside());
    use(opened);
  });
}

void list_root(Opened& opened) { opened.file.children(kRootElement); }

class EveryVersion : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Kvpm, EveryVersion, testing::Range(0, kCurrentVersion + 1));

}  // namespace

TEST_P(EveryVersion, ReadsWhatTheWriterWrote) {
  Opened opened(small_container(GetParam()).bytes());
  EXPECT_EQ(opened.file.format_number(), GetParam());
  EXPECT_EQ(opened.read({"VR_PART", "VR_PART"}), "the part");
  EXPECT_EQ(opened.read({"FastLoad", "JT"}), "fast jt");
  EXPECT_FALSE(opened.file.footer_is_loaded()) << "header paths need no footer";
  EXPECT_EQ(opened.read({"images2", "a"}), "picture");
  EXPECT_EQ(opened.read({"VR_PART", "JT"}), "jt");
  EXPECT_EQ(opened.file.record(*opened.find({"VR_PART"})).class_id, kPartClass);
  EXPECT_EQ(opened.listing(kRootElement), "FastLoad/ VR_PART/ images2/ ");
  EXPECT_EQ(opened.listing(*opened.find({"VR_PART"})), "VR_PART JT ");
  EXPECT_EQ(opened.file.node(*opened.find({"VR_PART", "JT"})).area, IndexArea::footer);
  EXPECT_EQ(opened.file.fast_load_end(), 512 + 7 + 8);
  EXPECT_EQ(opened.file.part_header_unit(1).value_or(0), GetParam() >= 3 ? 0x0302 : 0);
  EXPECT_FALSE(opened.file.is_truncated());
}

TEST(KvpmReading, HeaderPathsDifferByVersion) {
  const HeaderPaths& paths = HeaderPaths::standard();
  for (int version = 0; version < 7; ++version) EXPECT_EQ(paths.of(version).size(), version < 5 ? 15U : 20U);
  EXPECT_TRUE(paths.contains(6, "/Root/DFA"));
  EXPECT_EQ(test_support::escape_of([&] { (void)paths.of(7); }),
            "1021253 Failed to initialize header-paths for version 7");
}

TEST_P(EveryVersion, EndsEveryCutInAnErrorOrATruncation) {
  const std::string whole = small_container(GetParam()).bytes();
  const std::size_t header_end = ContainerDamage(whole).index_end(IndexArea::header);
  for (std::size_t size = kSignatureSize; size < whole.size(); ++size) {
    const std::string result = outcome(whole.substr(0, size), [&](Opened& opened) {
      EXPECT_THROW(list_root(opened), support::ErrorEscape);
      EXPECT_TRUE(opened.file.is_truncated()) << "cut at " << size;
    });
    EXPECT_EQ(result, size < header_end ? "1020023 unexpected end of stream" : "") << "cut at " << size;
  }
}

TEST_P(EveryVersion, DetectsAFlippedBitInAnIndex) {
  const std::string whole = small_container(GetParam()).bytes();
  const ContainerDamage places(whole);
  for (const IndexArea area : {IndexArea::header, IndexArea::footer}) {
    for (std::size_t at = places.index_start(area); at < places.index_end(area); ++at) {
      const std::string result = outcome(ContainerDamage(whole).flip(at, at % 8).bytes(), list_root);
      EXPECT_TRUE(GetParam() < kFirstVersionWithChecksum || !result.empty()) << "byte " << at;
    }
  }
}

TEST(KvpmReading, NamesEveryDamageOfAnIndex) {
  constexpr IndexArea kHeader = IndexArea::header;
  constexpr IndexArea kFooter = IndexArea::footer;
  const char* const storage = "/Root/VR_PART";
  const char* const stream = "/Root/VR_PART/VR_PART";
  const std::string past_end = "1020023 unexpected end of stream";
  const std::string wrong_signature = "1021253 Structured storage internal failure: wrong signature of the ";
  const std::string too_long = "1021502 Structured Storage Error: Storage name is too long: ";
  const std::string negative_place =
      "1021001 Attempt to seek to negative absolute location: 0xfffffffffffffffe";
  const std::pair<std::function<void(ContainerDamage&)>, std::string> rows[] = {
      {[](auto& d) { d.put(8, "\x07"); }, "1021260 Cannot read version 7 storage file (greater than current"},
      {[](auto& d) { d.wrong_signature(kHeader); }, wrong_signature + "header index"},
      {[](auto& d) { d.wrong_signature(kFooter); }, wrong_signature + "footer index"},
      {[](auto& d) { d.wrong_checksum(kHeader); }, "1021501 Checksum of Index read ("},
      {[](auto& d) { d.entry_count(kFooter, -1); }, "1021265 Number of index entries should not be negative"},
      {[](auto& d) { d.entry_count(kHeader, 0x7FFFFFFF); }, past_end},
      {[=](auto& d) { d.path_length(storage, 0); }, too_long + "0"},
      {[=](auto& d) { d.path_length(storage, 0x40000000); }, too_long + "1073741824"},
      {[=](auto& d) { d.path_length(storage, 0x3FFFFFFF); }, past_end},
      {[=](auto& d) { d.stream_place(stream, -1, 8); }, "1021265 element offset should not be negative"},
      {[=](auto& d) { d.stream_place(stream, 8, -1); }, "1021265 element size should not be negative"},
      {[](auto& d) { d.part_header_length(4097); }, "1021265 Header Length 4097 is not sane"},
      {[](auto& d) { d.part_header_length(-2); }, "1021265 Header Length -2 is not sane"},
      {[](auto& d) { d.footer_offset(-2); }, negative_place},
      {[](auto& d) { d.footer_offset(1 << 30); }, past_end},
      {[](auto& d) { d.put(d.bytes().find("/images2/a"), "/images2//").fix_checksums(); },
       "1021253 Structured Storage check failed"},
  };
  for (const auto& [damage, wanted] : rows) {
    ContainerDamage damaged(small_container(kCurrentVersion).bytes());
    damage(damaged);
    const std::string found = outcome(damaged.bytes(), list_root);
    EXPECT_TRUE(found.starts_with(wanted)) << wanted << "\n" << found;
  }
}

TEST(KvpmReading, RemembersThatTheFooterIsDamaged) {
  // The checksum is wrong; how far the streams of such an index reach says nothing.
  ContainerDamage damage(small_container(6).bytes());
  Opened opened(damage.stream_place("/Root/images2/a", 9, 1 << 20).bytes());
  EXPECT_EQ(opened.find({"FastLoad", "Structure"}), std::nullopt) << "a header path needs no footer";
  for (int i = 0; i < 2; ++i) EXPECT_THROW(opened.find({"nothing"}), support::ErrorEscape);
  EXPECT_THROW(opened.file.children(kRootElement), support::ErrorEscape);
  EXPECT_THROW(find_stream_by_name(opened.file, "DisplayJT"), support::ErrorEscape);
  EXPECT_EQ(opened.file.node(find_stream_by_name(opened.file, "JT").value()).size, 7U) << "in the header";
  EXPECT_FALSE(opened.file.is_truncated());
}

TEST(KvpmReading, NeedsNoFooterAndIsTruncatedWhenAStreamReachesBeyondTheFile) {
  Opened bare(small_container(6).no_footer().bytes());
  EXPECT_EQ(bare.find({"nothing"}), std::nullopt);
  EXPECT_EQ(bare.read({"images2", "a"}), "picture");
  ContainerDamage damage(small_container(6).bytes());
  damage.stream_place("/Root/VR_PART/VR_PART", INT64_MAX, INT64_MAX).fix_checksums();
  Opened opened(damage.bytes());
  EXPECT_TRUE(opened.file.is_truncated());
  EXPECT_EQ(opened.file.record(*opened.find({"VR_PART", "VR_PART"})).size, std::uint64_t{INT64_MAX});
}

TEST(KvpmReading, ShowsItsReadingOnTheDiagnosticsChannels) {
  const test_support::TemporaryFolder folder;
  small_container(6).write(folder.path() / "part.prt");
  const auto told_on = [&](const std::string& channels) {
    const std::vector<std::string> arguments = {"-storages", "-extract_stream", "images2/a", "out",
                                                "part.prt"};
    return test_support::run_program(arguments, folder.path(), {"VRII_DISPLAY_DEBUG=" + channels}).err;
  };
  const std::string reading = told_on("structured_storage_io");
  const std::string calls = told_on("cfi_storage,structured_storage");
  EXPECT_NE(reading.find("element path: \"/Root/VR_PART/\" at offset "), std::string::npos) << reading;
  EXPECT_NE(calls.find("CFI__read_from_stream: /Root/images2/a "), std::string::npos) << calls;
  EXPECT_NE(calls.find("part.prt: footer index with 3 entries\n"), std::string::npos) << calls;
  EXPECT_EQ(reading.find("CFI_open"), std::string::npos);
}

TEST(KvpmReading, MakesStoragesOfPathPrefixes) {
  // Only the streams stay listed: the storages' paths become those of streams of another storage.
  std::string bytes = ContainerBuilder().stream("/Root/a/b/c", "deep").stream("/Root/x", "flat").bytes();
  for (const char* storage : {"/Root/a/", "/Root/a/b/"}) {
    const std::size_t at = bytes.find(std::string(storage) + std::string(16, '\0'));
    ASSERT_NE(at, std::string::npos);
    bytes[at + std::string_view(storage).size() - 1] = 'z';
    bytes[at + 6] = 'q';
  }
  Opened opened(ContainerDamage(bytes).fix_checksums().bytes());
  EXPECT_EQ(opened.read({"a", "b", "c"}), "deep");
  EXPECT_EQ(opened.listing(*opened.find({"a"})), "b/ ");
  EXPECT_EQ(opened.file.record(*opened.find({"a"})).class_id, ClassId());
  EXPECT_EQ(opened.file.node(*opened.find({"a", "b"})).area, IndexArea::footer);
}

TEST(KvpmReading, FindsAHeaderPathThatOnlyTheFooterTellsOf) {
  // A storage that is listed nowhere, and a stream that stands in the wrong index.
  ContainerBuilder builder;
  builder.stream("/Root/images/thumb", "small").stream("/Root/part/attrs", "a");
  ContainerDamage damage(builder.area("/Root/part/attrs", IndexArea::footer).bytes());
  damage.put(damage.bytes().find("/Root/images/"), "/Root/imagez/").fix_checksums();
  for (const bool listed_before : {false, true}) {
    Opened opened(damage.bytes());
    if (listed_before) list_root(opened);
    EXPECT_EQ(opened.read({"images", "thumb"}), "small") << listed_before;
  }
  EXPECT_EQ(Opened(damage.bytes()).read({"part", "attrs"}), "a");
}

TEST(KvpmReading, ListsAStorageOnceAndByAreaThenOffsetThenName) {
  ContainerBuilder twice = small_container(6);
  twice.area("/Root/FastLoad", IndexArea::footer).area("/Root/FastLoad/JT", IndexArea::header);
  Opened listed_twice(twice.bytes());
  EXPECT_EQ(listed_twice.listing(listed_twice.find({"FastLoad"}).value()), "JT ");
  // Written in this order, so that the offsets rise; a storage counts with the smallest of its own streams.
  ContainerBuilder builder;
  builder.stream("/Root/m/second", "22").stream("/Root/c", "1").stream("/Root/m/z/deep", "3");
  builder.stream("/Root/b", "").stream("/Root/a", "").storage("/Root/y").storage("/Root/x");
  builder.stream("/Root/h", "4").area("/Root/h", IndexArea::header).area("/Root/x", IndexArea::header);
  Opened opened(builder.bytes());
  EXPECT_EQ(opened.listing(kRootElement), "h x/ m/ c a b y/ ");
  EXPECT_EQ(opened.listing(*opened.find({"m"})), "second z/ ");
  EXPECT_EQ(opened.listing(*opened.find({"c"})), "") << "a stream has no children";
}

TEST(KvpmReading, GoesThroughDeepAndScatteredTreesInTime) {
  // Each level is listed, deepest last; then streams that take turns in many storages.
  constexpr int kDepth = 3000;
  std::vector<ListedElement> elements;
  elements.reserve(kDepth + 20000);
  std::string path = kRootPath;
  for (int level = 0; level < kDepth; ++level) elements.push_back({path += "/s", ElementType::storage, {}});
  for (int i = 0; i < 20000; ++i) {
    path = "/Root/t" + std::to_string(i % 500) + "/x" + std::to_string(i);
    elements.push_back({path, ElementType::stream, {}});
  }
  const std::string index = index_bytes(kCurrentVersion, IndexArea::header, elements, {});
  Opened opened(std::string(kKvpmSignature) + '\6' + std::string(8, '\0') + std::string(8, '\xFF') + index);
  ElementId storage = kRootElement;
  EXPECT_EQ(opened.file.children(storage).size(), 501U);
  for (int level = 0; level < kDepth; ++level) storage = opened.file.find_child(storage, "s").value();
  EXPECT_TRUE(opened.file.children(storage).empty());
  EXPECT_EQ(opened.file.children(*opened.find({"t7"})).size(), 40U);
}

TEST(KvpmReading, FindsAStreamByNameInTheNearestPlaceFirst) {
  ContainerBuilder builder;
  for (int i = 0; i < 200; ++i) builder.stream("/Root/many/" + std::to_string(i), "");
  builder.stream("/Root/z/JT", "far").stream("/Root/y/JT", "farther").stream("/Root/y/X", "short");
  const auto size_of = [](const ContainerBuilder& built, const char* name) {
    Opened opened(built.bytes());
    const auto found = find_stream_by_name(opened.file, name);
    return found ? opened.file.node(*found).size : 0;
  };
  EXPECT_EQ(size_of(builder, "JT"), 3U) << "the earlier offset is listed first";
  EXPECT_EQ(size_of(builder, "X"), 5U);
  EXPECT_EQ(size_of(builder, "y"), 0U) << "a storage is no stream";
  EXPECT_EQ(size_of(builder.stream("/Root/FastLoad/JT", "fast"), "JT"), 4U);
  EXPECT_EQ(size_of(builder.stream("/Root/VR_PART/JT", "p"), "JT"), 1U);
}
