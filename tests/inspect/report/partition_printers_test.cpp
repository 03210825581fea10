#include "inspect/report/partition_printers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include "inspect/records/inspect_errors.h"
#include "inspect/report/external_references.h"
#include "inspect/report/filing_history.h"
#include "inspect/report/machine_format.h"
#include "tests/support/captured.h"
#include "tests/support/object_builder.h"
#include "tests/support/opened_part.h"
#include "tests/support/part_builder.h"

namespace {

using test_support::ObjectPlan;
using test_support::OpenedPart;
using test_support::PartBuilder;

template <typename Call>
std::string output_of(Call call) {
  return test_support::captured(call).out;
}

std::size_t occurrences(const std::string& text, const std::string& wanted) {
  std::size_t count = 0;
  for (std::size_t at = text.find(wanted); at != std::string::npos; at = text.find(wanted, at + 1)) ++count;
  return count;
}

class PartitionPrinters : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC", 1);
    tzset();
  }
};

/// As the driver does.
std::string listings_of(OpenedPart& opened) {
  return output_of([&] {
    try {
      print_partitions(opened.file);
    } catch (const support::ErrorEscape& escape) {
      report_escape(opened.file, escape);
    }
  });
}

TEST_F(PartitionPrinters, DamageEndsTheListings) {
  ObjectPlan bad;
  bad.stored_audit_class = 9;
  ObjectPlan sound;
  sound.programs[0].saves[0].user_name = "t\x1b[2Jx";
  ObjectPlan not_om;
  not_om.intro = "XX\1\2\3\4\5";
  PartBuilder part;
  part.add(object_partition(8, 6, sound));
  part.add(object_partition(9, 3, not_om));
  part.add(object_partition(10, 7, bad));
  part.add(object_partition(11, 7, sound));
  OpenedPart opened(part.build());
  opened.options.print_partition.fill(true);
  const std::string out = listings_of(opened);
  EXPECT_TRUE(opened.file.failed);
  EXPECT_NE(out.find("Expected audit class index 5 but found 9"), std::string::npos);
  EXPECT_EQ(out.find("Partition id: 11\n"), std::string::npos);
  EXPECT_NE(out.find("\n--------- Contents of Occurrence directory ----------\nPartition id: 8\n"),
            std::string::npos);
  EXPECT_NE(out.find("    Tue Nov 14 22:13:20 2023  t\\x1B[2Jx         version    12  machine type     9\n"),
            std::string::npos);
  EXPECT_NE(out.find("Directory CMOD 9 is expected to be in OM format but is not.\n"
                     "This will be true for pre-Phase 6 V10 parts\n"),
            std::string::npos);
}

TEST_F(PartitionPrinters, CookiesAloneShowTheAuditTrails) {
  PartBuilder part;
  part.add(object_partition(1, 7, ObjectPlan{}));
  OpenedPart opened(part.build());
  opened.options.print_cookies = true;
  const std::string out = listings_of(opened);
  EXPECT_NE(out.find("  magic cookie         77  maximum object id       4711\n"), std::string::npos);
  EXPECT_EQ(out.find("Schemas"), std::string::npos);
}

TEST_F(PartitionPrinters, OneLongTextNamedOftenIsShownWholeOnce) {
  ObjectPlan plan;
  plan.shared_strings = {std::string(30000, 'u')};
  plan.programs[0].saves.assign(100, {.shared_user = 0});
  PartBuilder part;
  part.add(object_partition(1, 7, plan));
  OpenedPart opened(part.build());
  opened.options.print_cookies = true;
  const std::string out = listings_of(opened);
  EXPECT_LT(out.size(), 60000U);
  EXPECT_NE(out.find(std::string(30000, 'u')), std::string::npos);
  EXPECT_EQ(occurrences(out, "uuu...  version"), 99U);
}

TEST_F(PartitionPrinters, PartitionsThatLieInOnePlaceAreNotListedWithoutEnd) {
  ObjectPlan plan;
  plan.shared_strings.assign(500, std::string(100, 's'));
  PartBuilder part;
  part.add(object_partition(1, 7, plan));
  const std::uint64_t place = part.data_offset(0);
  constexpr std::int32_t kEntries = 40;
  for (std::int32_t id = 2; id <= kEntries; ++id) part.add({.id = id, .type = 7, .listed_offset = place});
  const std::uint64_t shift = part.data_offset(0) - place;  // the index has grown
  part = {};
  part.add(object_partition(1, 7, plan));
  for (std::int32_t id = 2; id <= kEntries; ++id) {
    part.add({.id = id, .type = 7, .listed_offset = place + shift});
  }
  OpenedPart opened(part.build());
  opened.options.print_partition.fill(true);
  const std::string out = listings_of(opened);
  EXPECT_TRUE(opened.file.failed);
  EXPECT_LE(occurrences(out, "Shared strings: 500\n"), 8U);
  EXPECT_GE(occurrences(out, "Shared strings: 500\n"), 2U);
  EXPECT_NE(out.find("object-manager data overlap"), std::string::npos);
}

TEST_F(PartitionPrinters, ATraceIsBoundedByTheFileOnDisk) {
  PartBuilder part;
  part.add(object_partition(1, 7, ObjectPlan{}));
  for (const std::uint64_t length : {1, 100}) {
    OpenedPart opened(part.build());
    opened.file.disk_length = length;  // a frame that expands far
    opened.options.trace = true;
    const std::string out = listings_of(opened);
    EXPECT_EQ(out.find("object-manager data overlap") != std::string::npos, length == 1);
    EXPECT_EQ(occurrences(out, "Reading Machine type in audit trail entry"), length == 1 ? 0U : 1U);
  }
}

TEST_F(PartitionPrinters, HistoryIsOldestFirstInEitherDirectionOfTheChains) {
  using Times = std::vector<std::int32_t>;
  struct Case {
    Times first;   ///< of the saves of the first program, which are named a, b, ...
    Times second;  ///< of the second, named on
    const char* order;
  };
  const Case cases[] = {
      {{100, 0}, {200}, "abc"},       {{100, 0}, {50}, "cba"}, {{100, 50, 0}, {200}, "bcad"},
      {{0, 300}, {100, 100}, "dcba"}, {{}, {0, 0}, "ba"},      {{7, 7}, {7}, "abc"},
  };
  for (const Case& one : cases) {
    ObjectPlan plan;
    plan.programs = {{"KX 1", {}}, {"KX 2", {}}};
    std::string next = "a";
    for (std::size_t i = 0; i < 2; ++i) {
      for (const std::int32_t time : i == 0 ? one.first : one.second) {
        plan.programs[i].saves.push_back({.user_name = next, .time = time});
        ++next[0];
      }
    }
    PartBuilder part;
    part.add(object_partition(4, 1, plan));
    OpenedPart opened(part.build());
    const std::string out = output_of([&] { print_v10_filing_history(opened.file); });
    const bool pseudo = std::ranges::count(one.first, 0) + std::ranges::count(one.second, 0) > 0;
    EXPECT_EQ(out.find("\nNote: partition 4 contains pseudo entries\n") == 0, pseudo);
    std::string order;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with("  ")) continue;
      order += line[28];
      EXPECT_EQ(line.substr(46, 4),
                order.back() < 'a' + static_cast<int>(one.first.size()) ? "KX 1" : "KX 2");
    }
    EXPECT_EQ(order, one.order);
  }
}

TEST_F(PartitionPrinters, HistoryNeverFailsTheFile) {
  ObjectPlan bad;
  bad.classes[0].schema = 5;
  PartBuilder part;
  part.add(object_partition(1, 1, bad));
  OpenedPart opened(part.build());
  const std::string out = output_of([&] { print_v10_filing_history(opened.file); });
  EXPECT_NE(out.find("cannot be read: bad schema index 5 - n schemas 1\n"), std::string::npos);
  EXPECT_FALSE(opened.file.failed);
  EXPECT_EQ(machine_format_text(opened.file), "x86_64 Linux");
}

TEST_F(PartitionPrinters, OldHistoryWordsNameReleases) {
  EXPECT_EQ(output_of([] { inspect::print_old_filing_history(0); }), " none\n");
  EXPECT_EQ(output_of([] { inspect::print_old_filing_history(0x8009); }), " V1 V4 V10\n");
}

TEST_F(PartitionPrinters, OlderDirectoriesListTheEntityChainsOfTheHeader) {
  ObjectPlan plan;
  plan.root = -1;
  const std::string om = object_partition(plan);
  std::string first_letter = om;
  first_letter[5] = 'X';
  std::string second_letter = om;
  second_letter[4] = 'X';
  for (const std::string& data : {std::string("12345678"), om, first_letter, second_letter}) {
    PartBuilder part;
    part.version = 12;
    part.header_words = 12;
    for (const std::int32_t type : {1, 3}) {
      test_support::PartitionPlan directory;
      directory.id = directory.type = type;
      directory.bytes = type == 1 ? data : "12345678";
      part.add(directory);
    }
    std::string bytes = part.build();
    bytes[26 + 2 + 2 * 5] = 3;  // the chain of type 5
    OpenedPart opened(bytes);
    opened.options.print_partition.fill(true);
    const std::string out = listings_of(opened);
    EXPECT_NE(out.find("  Unknown                 5       1536\n"), std::string::npos) << out;
    EXPECT_EQ(occurrences(out, "  Unknown "), 1U);
    EXPECT_EQ(occurrences(out, "Machine format: x86_64 Linux\n"), data.size() > 8 ? 1U : 0U);
    EXPECT_FALSE(opened.file.failed);
  }
}

support::MemorySource source_over(const std::string& bytes) {
  return support::MemorySource(std::as_bytes(std::span(bytes)));
}

/// A name with its length before it, most significant byte first.
std::string named(const std::string& name) {
  return std::string("\0\0\0", 3) + static_cast<char>(name.size()) + name + '\0';
}

TEST(ExternalReferences, ListsTextsAndReferencedParts) {
  const std::string part =
      named("housing.prt") + named("sh.PRT") + named("abc") + named("notes") + named("housing.prt");
  const std::string fast = named("sh.PRT") + named("gro\xC3\x9F.prt");
  auto part_source = source_over(part);
  auto fast_source = source_over(fast);
  EXPECT_EQ(output_of([&] { inspect::print_external_references(&part_source, nullptr); }),
            "Contents of ExternalReferenceTable for VRPart Storage:\n"
            "  housing.prt\n  sh.PRT\n  notes\n  housing.prt\n"
            "Contents of ExternalReferenceTable for Fast Load Partition Storage:\n  <none>\n");
  const auto referenced = [&](inspect::ReferenceListing listing) {
    const std::string out = output_of([&] { print_referenced_parts(&part_source, &fast_source, listing); });
    return out.substr(out.find(":\n") + 2);
  };
  EXPECT_EQ(referenced(inspect::ReferenceListing::all),
            "  housing.prt\n  sh.PRT\n  housing.prt\n  sh.PRT\n  gro\xC3\x9F.prt\n");
  EXPECT_EQ(referenced(inspect::ReferenceListing::most_recent),
            "  housing.prt\n  sh.PRT\n  gro\xC3\x9F.prt\n");
}

TEST(ExternalReferences, FindsTextsAcrossPiecesAndCutsEndlessOnes) {
  const std::string before(65'530, '\0');
  const std::string bytes = before + named("crossing\xC3\x9Fxx.prt") + std::string(10'000, 'x');
  auto source = source_over(bytes);
  const std::string out = output_of([&] { inspect::print_external_references(&source, nullptr); });
  EXPECT_NE(out.find("\n  crossing\xC3\x9Fxx.prt\n"), std::string::npos);
  EXPECT_NE(out.find("  " + std::string(4096, 'x') + "\n"), std::string::npos);
  EXPECT_EQ(occurrences(out, "x"), 10'000U + 4U);
}

TEST(ExternalReferences, FindsPartModules) {
  const std::string bytes = named("VRX::ModlFeature::MainPartModuleExtFileRefType") + named("main.prt") +
                            named("VRX::ModlFeature::LinkedPartModuleExtFileRefType") + named("one.prt") +
                            named("other.prt") + named("VRX::ModlFeature::LinkedPartModuleExtFileRefType");
  auto source = source_over(bytes);
  const inspect::PartModuleReferences modules = inspect::find_part_modules(source);
  EXPECT_EQ(modules.main_parts, std::vector<std::string>{"main.prt"});
  EXPECT_EQ(modules.linked_parts, (std::vector<std::string>{"one.prt", "Unknown"}));
}

}  // namespace
