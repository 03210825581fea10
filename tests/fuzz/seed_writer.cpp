#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <span>

#include "tests/support/compound_builder.h"
#include "tests/support/container_builder.h"
#include "tests/support/lz4_frame.h"
#include "tests/support/object_builder.h"
#include "tests/support/solid_builder.h"

// Writes the inputs that fuzzing starts from, one folder for each target: what the builders of the tests
// compose, and the samples.

namespace {

namespace fs = std::filesystem;
using test_support::RecordBytes;

class SeedFolder {
 public:
  SeedFolder(const fs::path& parent, const char* target) : path_(parent / target) {
    fs::create_directories(path_);
  }

  void add(std::string_view bytes) {
    test_support::write_file(path_ / ("seed_" + std::to_string(++count_)), bytes);
  }

  /// Once for each value of the byte in front.
  void add(std::span<const unsigned> selectors, std::string_view bytes) {
    for (const unsigned selector : selectors) add(static_cast<char>(selector) + std::string(bytes));
  }

 private:
  fs::path path_;
  int count_ = 0;
};

std::string jt_stream(std::int32_t version) {
  RecordBytes out(std::endian::little);
  out.u32(test_support::field(version)).u32(2);
  if (version > 7) out.u32(1);
  const std::uint64_t start = out.size() + (version == 9 ? 32 : 16);
  for (std::uint64_t body = 0; body < 2; ++body) {
    for (const std::uint64_t number : {7 + body, start + 6 * body})
      version == 9 ? out.u64(number) : out.u32(number);
  }
  return out.raw("body 1body 2").bytes();
}

std::string toggle_stream() {
  RecordBytes out(std::endian::little);
  out.u8(1).u32(2).u32(6).raw("FT_A=1").u32(6).raw("FT_B=0").u32(0);
  return out.bytes();
}

std::string solid_text(std::size_t repeats) {
  std::string text;
  for (std::size_t i = 0; i < repeats; ++i) text += "block " + std::to_string(i) + ' ';
  return text;
}

std::vector<test_support::SolidPlan> solid_plans(std::endian order) {
  std::vector<test_support::SolidPlan> plans;
  for (const bool compressed : {false, true}) {
    plans.push_back({.order = order, .block = {.data = solid_text(60)}, .compressed = compressed});
    for (std::uint16_t version = 1; version <= 5; ++version) {
      test_support::SolidPlan& plan = plans.emplace_back(plans.front());
      plan.block.data = solid_text(20);
      plan.compressed = compressed;
      plan.extended = true;
      plan.ext_version = version;
      plan.skipped = {1, 2};
      plan.listed = {3};
    }
  }
  return plans;
}

std::vector<test_support::ObjectPlan> object_plans(std::endian order) {
  std::vector<test_support::ObjectPlan> plans;
  for (std::int32_t version = 3; version <= 10; ++version) {
    for (const bool compact : {false, true}) {
      plans.push_back({.order = order, .version = version, .compact = compact, .wide = version % 2 == 0});
    }
  }
  return plans;
}

test_support::PartBuilder part(std::endian order, std::uint16_t header_words) {
  test_support::PartBuilder builder;
  builder.order = order;
  builder.header_words = header_words;
  builder.version = header_words == 269 ? 70 : 14;
  builder.units = header_words == 269 ? 1 : 0;
  builder.add(object_partition(1, 1, object_plans(order).back()));
  builder.add({.id = 10, .type = 10, .bytes = solid_partition(solid_plans(order).back())});
  return builder;
}

std::string container(int version, std::string_view part_stream) {
  test_support::ContainerBuilder builder(version);
  builder.stream("/Root/VR_PART/VR_PART", part_stream)
      .stream("/Root/VR_PART/LastSavedToggleInfoStream", toggle_stream())
      .stream("/Root/VR_PART/ExternalReferences", "one.prt\1two.prt\1")
      .stream("/Root/COMPATIBILITY", "KX 1\nKX 2\n")
      .stream("/Root/JT", test_support::lz4_frame(jt_stream(9)));
  return builder.bytes();
}

std::string compound(std::uint32_t sector_size, std::string_view part_stream) {
  test_support::CompoundBuilder builder(sector_size);
  const auto storage = builder.add_storage(0, u"VR_PART");
  builder.add_stream(storage, u"VR_PART", std::string(part_stream));
  builder.add_stream(storage, u"LastSavedToggleInfoStream", toggle_stream());
  builder.add_stream(0, u"JT", jt_stream(8));
  builder.add_stream(0, u"long", solid_text(600));
  builder.compose();
  return builder.bytes();
}

void write_streams(const fs::path& folder) {
  SeedFolder lz4(folder, "lz4_stream");
  const unsigned piece_sizes[] = {0, 9, 16, 255};
  lz4.add(piece_sizes, test_support::lz4_frame(solid_text(100)));
  lz4.add(piece_sizes, test_support::lz4_frame(solid_text(100), {200}));
  // Full blocks, which few bytes hold when they repeat themselves and one another.
  lz4.add(piece_sizes, test_support::lz4_frame(std::string(200000, 'x') + std::string(100000, 'y')));
  SeedFolder(folder, "toggle_stream").add(toggle_stream());
  SeedFolder jt(folder, "jt_stream");
  const unsigned selectors[] = {0, 1};
  for (const std::int32_t version : {7, 8, 9}) jt.add(selectors, jt_stream(version));
}

/// Streams with each kind of block: as they are, with the fixed codes, with codes of their own, and several.
void write_deflated(const fs::path& folder) {
  SeedFolder seeds(folder, "inflate");
  const unsigned selectors[] = {13, 0, 150, 97};
  for (const std::string& text : {std::string(), std::string("abc"), std::string(5000, 'x'), solid_text(300)})
    seeds.add(selectors, test_support::deflated(text));
  seeds.add(selectors, std::string("x\x01\x01\x05\0\xfa\xff", 7) + "hello\x06\x2c\x02\x15");
}

void write_partitions(const fs::path& folder) {
  SeedFolder objects(folder, "object_manager");
  SeedFolder solids(folder, "brepsolid");
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    const unsigned swap = order == std::endian::big ? 4 : 0;
    const unsigned object_selectors[] = {0b0010000 | swap, 0b0010001 | swap, 0b1011001 | swap};
    for (const auto& plan : object_plans(order)) objects.add(object_selectors, object_partition(plan));
    const unsigned solid_selectors[] = {swap, 33 | swap};
    for (const auto& plan : solid_plans(order)) solids.add(solid_selectors, solid_partition(plan));
  }
}

void write_files(const fs::path& folder) {
  SeedFolder index(folder, "part_index");
  SeedFolder kvpm(folder, "kvpm_container");
  SeedFolder microsoft(folder, "compound_file");
  SeedFolder driver(folder, "driver");
  SeedFolder document(folder, "document");
  const unsigned index_selectors[] = {0, 5};
  const unsigned driver_selectors[] = {0b10001, 0b00110, 0b01001, 32};
  const auto add_whole_file = [&](std::string_view bytes) {
    driver.add(driver_selectors, bytes);
    document.add(bytes);
  };
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    for (const std::uint16_t header_words : std::initializer_list<std::uint16_t>{10, 12, 269}) {
      const std::string stream = part(order, header_words).build();
      index.add(index_selectors, stream);
      add_whole_file(stream);
    }
    const std::string stream = part(order, 269).build();
    for (const int version : {0, 2, 4, 6}) {
      kvpm.add(container(version, stream));
      add_whole_file(container(version, stream));
    }
    for (const std::uint32_t sector_size : {512U, 4096U}) {
      microsoft.add(compound(sector_size, stream));
      add_whole_file(compound(sector_size, stream));
    }
    add_whole_file(container(6, test_support::lz4_frame(stream)));
  }
  for (const auto& file : fs::directory_iterator(VRII_SAMPLES)) {
    if (file.path().extension() != ".prt") continue;
    add_whole_file(test_support::read_file(file.path()));
  }
}

}  // namespace

int main(int argument_count, char** arguments) {
  if (argument_count != 2) {
    std::fprintf(stderr, "usage: %s folder\n", arguments[0]);
    return 1;
  }
  write_streams(arguments[1]);
  write_deflated(arguments[1]);
  write_partitions(arguments[1]);
  write_files(arguments[1]);
  return 0;
}
