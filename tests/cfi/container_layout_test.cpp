#include "cfi/container_layout.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "cfi/compound/compound_file_format.h"
#include "cfi/storage_file.h"
#include "support/error_escape.h"
#include "support/limits.h"
#include "support/text_format.h"
#include "tests/support/compound_builder.h"
#include "tests/support/container_builder.h"
#include "tests/support/files.h"
#include "tests/support/memory_file.h"

namespace {

using namespace VRX::System::CFI;
using support::format_text;
using test_support::CompoundBuilder;
using test_support::ContainerBuilder;
using test_support::ContainerDamage;
using test_support::MemoryFile;

/// What was handed over, each range of a file of that many bytes held against the others.
class Layout final : public LayoutSink {
 public:
  explicit Layout(std::uint64_t file_size) : claimed_(file_size) {}

  void structure(const LayoutRange& range) override {
    static constexpr const char* kNames[] = {"verified", "failed", "decoded", "opaque", "unclaimed"};
    claim(range.offset, range.length);
    const std::string line = format_text("%s %s\n", std::string(range.owner).c_str(),
                                         kNames[static_cast<std::size_t>(range.protection)]);
    if (!structures_.ends_with(line)) structures_ += line;
  }
  void stream_run(const StreamRun& run) override {
    claim(run.file_offset, run.length);
    runs_[run.stream].push_back(run);
  }

  /// "176+336 " for each range without an owner, "100 twice " for each byte that has two.
  std::string gaps() const {
    std::string told = twice_;
    for (std::size_t at = 0; at < claimed_.size(); ++at) {
      const std::size_t start = at;
      while (at < claimed_.size() && !claimed_[at]) ++at;
      if (at > start) told += format_text("%zu+%zu ", start, at - start);
    }
    return told;
  }
  /// One line an owner, neighbours of the same told once.
  const std::string& structures() const { return structures_; }
  const std::map<ElementId, std::vector<StreamRun>>& runs() const { return runs_; }

 private:
  void claim(std::uint64_t offset, std::uint64_t length) {
    ASSERT_GT(length, 0U);
    ASSERT_LE(length, claimed_.size());
    ASSERT_LE(offset, claimed_.size() - length);
    for (std::uint64_t at = offset; at < offset + length; ++at) {
      if (claimed_[at]) twice_ += format_text("%zu twice ", static_cast<std::size_t>(at));
      claimed_[at] = true;
    }
  }

  std::vector<bool> claimed_;
  std::string twice_;
  std::string structures_;
  std::map<ElementId, std::vector<StreamRun>> runs_;
};

/// A file with its layout and facts, whether it can be opened or not.
struct LaidOut {
  explicit LaidOut(const std::string& bytes) : memory(bytes), channel(memory.name()), layout(bytes.size()) {
    try {
      file = open_storage_file(channel);
      file->lay_out(layout);
      facts = file->facts();
    } catch (const support::ErrorEscape&) {
      file = nullptr;
      facts = lay_out_damaged(channel, layout);
    }
  }
  MemoryFile memory;
  FileChannel channel;
  std::unique_ptr<StorageFile> file;
  Layout layout;
  ContainerFacts facts;
};

/// Runs follow one another, and what they and the source say of a place is where its bytes are.
void expect_places_to_hold(const LaidOut& laid_out, const std::string& bytes) {
  for (const auto& [stream, runs] : laid_out.layout.runs()) {
    const auto source = laid_out.file->open_stream(stream);
    std::string content(static_cast<std::size_t>(source->size()), '\0');
    ASSERT_EQ(source->read(content.data(), content.size()), content.size());
    std::uint64_t next = 0;
    for (const StreamRun& run : runs) {
      ASSERT_EQ(run.stream_offset, next) << stream;
      ASSERT_EQ(content.compare(next, run.length, bytes, run.file_offset, run.length), 0) << stream;
      for (std::uint64_t i = 0; i<run.length; i += run.length> 4096 ? 61 : 1) {
        ASSERT_EQ(source->file_offset(next + i), run.file_offset + i) << stream;
        ASSERT_EQ(source->contiguous(next + i), run.length - i) << stream;
      }
      next += run.length;
    }
    ASSERT_EQ(next, content.size()) << stream;
    EXPECT_EQ(source->file_offset(next), runs.back().file_offset + runs.back().length);
    EXPECT_EQ(source->file_offset(next + 1), std::nullopt);
    EXPECT_EQ(source->contiguous(next), 0U);
  }
}

std::string content(std::size_t size, unsigned seed) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>((seed = seed * 1664525U + 1013904223U) >> 24U);
  return bytes;
}

/// Streams in sectors and in mini sectors, of which one is free: that of an entry whose size is set to 0.
std::string compound_file(std::uint32_t sector_size, bool fragmented) {
  CompoundBuilder builder(sector_size);
  builder.set_fragmented(fragmented);
  const std::uint32_t storage = builder.add_storage(0, u"storage");
  for (const unsigned size : {0U, 1U, 64U, 4095U, 4096U, 4097U, 20'000U}) {
    const std::string name = std::to_string(size);
    builder.add_stream(storage, {name.begin(), name.end()}, content(size, size));
  }
  const std::uint32_t freed = builder.add_stream(0, u"freed", "x");
  builder.compose();
  builder.put(builder.entry_offset(freed) + compound::entry::kStreamSize, 4, 0);
  builder.put(builder.mini_fat_entry_offset(builder.sectors(freed)[0]), 4, compound::kFreeSector);
  return builder.bytes();
}

std::string kvpm_file(int version) {
  ContainerBuilder builder(version);
  builder.header_area(512).part_header("\x0D\x01\x02\x03");
  builder.stream("/Root/VR_PART/VR_PART", "the part").stream("/Root/FastLoad/JT", "fast jt");
  return builder.stream("/Root/images2/a", "picture").stream("/Root/images2/b", "").bytes();
}

TEST(ContainerLayout, GivesEveryByteOneOwner) {
  const std::string header = "container.signature decoded\ncontainer.format_version decoded\n";
  const std::string end = "container.fast_load_end decoded\n";
  const std::string footer_offset = "container.footer_offset decoded\n";
  const std::string plain = "container.header_index decoded\ncontainer.footer_index decoded\n";
  const std::string verified =
      "container.header_index verified\ncontainer.header_index.xxh32 verified\n"
      "container.footer_index verified\ncontainer.footer_index.xxh32 verified\n";
  const std::string tables =
      "container.header decoded\ncontainer.fat decoded\ncontainer.directory decoded\n"
      "container.mini_fat decoded\n";
  struct Row {
    const char* name;
    std::string bytes;
    const char* gaps;
    std::string structures;  ///< as the list begins
  };
  const Row rows[] = {
      {"version 1", kvpm_file(1), "200+312 ", header + footer_offset + plain},
      {"version 3", kvpm_file(3), "210+302 ", header + footer_offset + verified},
      {"version 6", kvpm_file(6), "218+294 ", header + end + footer_offset + verified},
      {"sectors of 512 bytes", compound_file(512, false), "", tables},
      {"sectors in pieces", compound_file(512, true), "", tables},
      {"sectors of 4096 bytes", compound_file(4096, true), "", tables},
      {"bracket", test_support::read_file(test_support::sample("bracket.prt")), "1176+2920 ", ""},
      {"framed", test_support::read_file(test_support::sample("framed.prt")), "1176+2920 ", ""},
      {"gearbox", test_support::read_file(test_support::sample("gearbox.prt")), "", tables},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const LaidOut laid_out(row.bytes);
    ASSERT_TRUE(laid_out.file);
    EXPECT_EQ(laid_out.layout.gaps(), row.gaps);
    EXPECT_EQ(laid_out.layout.structures().substr(0, row.structures.size()), row.structures);
    expect_places_to_hold(laid_out, row.bytes);
    const LayoutFaults faults = laid_out.file->layout_faults();
    EXPECT_EQ(faults.streams_overlap + faults.index_overlap + faults.listed_twice, 0U);
  }
  const LaidOut compound(rows[5].bytes);
  for (const char* unclaimed : {"container.mini_stream unclaimed\n", "container.slack unclaimed\n"}) {
    EXPECT_NE(compound.layout.structures().find(unclaimed), std::string::npos) << unclaimed;
  }
}

/// "25+193 of 5 verified", "218+6 cut" or "none".
std::string told(const std::optional<IndexFacts>& index) {
  if (!index) return "none";
  std::string text = format_text("%zu+%zu ", static_cast<std::size_t>(index->offset),
                                 static_cast<std::size_t>(index->length));
  if (index->elements) text += format_text("of %d ", *index->elements);
  if (!index->is_whole) return text + "cut";
  if (!index->xxh32_stored) return text + "unchecked";
  return text + (index->matches() ? "verified" : "failed");
}

TEST(ContainerLayout, TellsOfDamagedIndexesWhatCouldBeRead) {
  using enum IndexArea;
  struct Row {
    int version;
    std::function<void(ContainerDamage&)> damage;
    const char* header_index;
    const char* footer_index;
    bool opens;
  };
  const Row rows[] = {
      {1, [](auto&) {}, "17+183 of 5 unchecked", "534+114 of 3 unchecked", true},
      {6, [](auto&) {}, "25+193 of 5 verified", "534+118 of 3 verified", true},
      {6, [](auto& d) { d.wrong_checksum(header); }, "25+193 of 5 failed", "534+118 of 3 verified", false},
      {6, [](auto& d) { d.wrong_checksum(footer); }, "25+193 of 5 verified", "534+118 of 3 failed", true},
      {6, [](auto& d) { d.wrong_signature(header); }, "25+6 cut", "534+118 of 3 verified", false},
      {1, [](auto& d) { d.wrong_signature(footer); }, "17+183 of 5 unchecked", "534+6 cut", true},
      {6, [](auto& d) { d.entry_count(header, -7); }, "25+10 of -7 cut", "534+118 of 3 verified", false},
      {6, [](auto& d) { d.footer_offset(1 << 20); }, "25+193 of 5 verified", "1048576+0 cut", true},
      {6, [](auto& d) { d.footer_offset(-2); }, "25+193 of 5 verified", "none", true},
      {6, [](auto& d) { d.footer_offset(25); }, "25+193 of 5 verified", "25+6 cut", true},
      {6, [](auto& d) { d.cut(540); }, "25+193 of 5 verified", "534+6 cut", true},
      {6, [](auto& d) { d.cut(200); }, "25+175 of 5 cut", "534+0 cut", false},
      {6, [](auto& d) { d.cut(20); }, "none", "none", false},
      {6, [](auto& d) { d.put(8, "\x07"); }, "none", "none", false},
  };
  for (const Row& row : rows) {
    ContainerDamage damaged(kvpm_file(row.version));
    row.damage(damaged);
    SCOPED_TRACE(std::string(row.header_index) + ", " + row.footer_index);
    const LaidOut laid_out(damaged.bytes());
    EXPECT_EQ(laid_out.file != nullptr, row.opens);
    const auto& facts = std::get<KvpmFacts>(laid_out.facts);
    EXPECT_EQ(told(facts.header_index), row.header_index);
    EXPECT_EQ(told(facts.footer_index), row.footer_index);
    for (const auto& [owner, index] : {std::pair{"header", row.header_index}, {"footer", row.footer_index}}) {
      const bool is_verified = std::string_view(index).ends_with("verified");
      const std::string line =
          format_text("container.%s_index %s\n", owner, is_verified ? "verified" : "failed");
      const bool is_there = !std::regex_match(index, std::regex("none|.*[+]0 cut|.*unchecked"));
      EXPECT_EQ(laid_out.layout.structures().find(line) != std::string::npos, is_there) << line;
    }
  }
  const LaidOut sound(kvpm_file(6));
  const auto& facts = std::get<KvpmFacts>(sound.facts);
  EXPECT_EQ(facts.format_version, 6);
  EXPECT_EQ(facts.footer_offset, 534);
  EXPECT_EQ(facts.part_header_copy->offset + 4 + 4, facts.header_index->offset + facts.header_index->length);
  EXPECT_EQ(facts.part_header_copy->length, 4U);
}

TEST(ContainerLayout, CountsTheTablesOfACompoundFile) {
  CompoundBuilder large;
  large.add_stream(0, u"large", std::string(std::size_t{8} << 20U, 'x'));
  large.compose();
  for (const auto& [bytes, wanted] : {
           std::pair{compound_file(512, true), CompoundFacts{3, 512, 1, 0, 1, 12}},
           std::pair{compound_file(4096, false), CompoundFacts{4, 4096, 1, 0, 1, 32}},
           std::pair{large.bytes(), CompoundFacts{3, 512, large.fat_sectors().size(), 1, 0, 4}},
       }) {
    const LaidOut laid_out(bytes);
    const auto& found = std::get<CompoundFacts>(laid_out.facts);
    EXPECT_EQ(std::tie(found.version, found.sector_size, found.fat_sectors, found.difat_sectors,
                       found.mini_fat_sectors, found.directory_entries),
              std::tie(wanted.version, wanted.sector_size, wanted.fat_sectors, wanted.difat_sectors,
                       wanted.mini_fat_sectors, wanted.directory_entries));
    EXPECT_EQ(laid_out.layout.gaps(), "");
  }
}

TEST(ContainerLayout, FindsOverlapsAndNamesListedTwice) {
  const char* const part = "/Root/VR_PART/VR_PART";
  const std::pair<std::function<void(ContainerDamage&)>, std::string> rows[] = {
      {[=](auto& d) { d.stream_place(part, 514, 3); }, "0: 514+3 VR_PART/VR_PART, FastLoad/JT\n"},
      {[=](auto& d) { d.stream_place(part, 100, 60); },
       "1: 100+60 VR_PART/VR_PART, container.header_index\n"},
      {[=](auto& d) { d.stream_place(part, 600, 900); },
       "1: 600+48 VR_PART/VR_PART, container.footer_index\n"},
      {[=](auto& d) { d.stream_place(part, 520, 0); }, ""},
      {[](auto& d) { d.put(d.bytes().find("/images2/b"), "/images2/a"); }, "2: 534+0 images2/a, images2/a\n"},
      {[](auto& d) { d.put(d.bytes().find("/images2/b"), "/images2/A"); }, ""},
  };
  for (const auto& [damage, wanted] : rows) {
    ContainerDamage damaged(kvpm_file(6));
    damage(damaged);
    const LaidOut laid_out(damaged.fix_checksums().bytes());
    std::string found;
    for (const LayoutFault& row : laid_out.file->layout_faults().rows) {
      found += format_text("%d: %zu+%zu ", static_cast<int>(row.kind), static_cast<std::size_t>(row.offset),
                           static_cast<std::size_t>(row.length)) +
               row.path + ", " + row.other + "\n";
    }
    EXPECT_EQ(found, wanted);
  }
}

TEST(ContainerLayout, KeepsTheFirstFaultsOfMany) {
  ContainerBuilder builder;
  const std::string folder = "/Root/" + std::string(10'000, 'f') + "/";
  for (int i = 100; i < 300; ++i) builder.stream(folder + std::to_string(i), "content");
  ContainerDamage damaged(builder.bytes());
  const auto inside = static_cast<std::int64_t>(damaged.bytes().find("content") + 1);
  for (int i = 101; i < 300; ++i) damaged.stream_place(folder + std::to_string(i), inside, 1);
  const LaidOut laid_out(damaged.fix_checksums().bytes());
  const LayoutFaults faults = laid_out.file->layout_faults();
  EXPECT_EQ(faults.streams_overlap, 199U);
  EXPECT_EQ(faults.rows.size(), limits::kLayoutFaults);
  EXPECT_EQ(faults.rows[0].path, "..." + std::string(4093, 'f') + "/101");
  CompoundBuilder twice;
  const std::uint32_t storage = twice.add_storage(0, u"st");
  for (const char16_t* name : {u"a", u"B", u"b"}) twice.add_stream(storage, name, "");
  twice.compose();
  const LaidOut compound(twice.bytes());
  const LayoutFaults names = compound.file->layout_faults();
  ASSERT_EQ(names.listed_twice, 1U);
  EXPECT_EQ(names.rows[0].path + names.rows[0].other, "st/bst/B");
}

}  // namespace
