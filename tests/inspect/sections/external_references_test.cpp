#include "inspect/sections/external_references.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>

#include "inspect/report/text_report.h"
#include "tests/support/captured.h"

namespace {

support::MemorySource source_over(const std::string& bytes) {
  return support::MemorySource(std::as_bytes(std::span(bytes)));
}

/// A name with its length before it, most significant byte first.
std::string named(const std::string& name) {
  return std::string("\0\0\0", 3) + static_cast<char>(name.size()) + name + '\0';
}

template <typename Call>
std::string output_of(Call call) {
  support::Console console;
  inspect::TextReport report("part", {}, console);
  return test_support::captured(console, [&] { call(report); }).out;
}

TEST(ExternalReferences, ListsTextsAndReferencedParts) {
  const std::string part =
      named("housing.prt") + named("sh.PRT") + named("abc") + named("notes") + named("housing.prt");
  const std::string fast = named("sh.PRT") + named("gro\xC3\x9F.prt");
  auto part_source = source_over(part);
  auto fast_source = source_over(fast);
  EXPECT_EQ(output_of([&](auto& report) { read_external_references(&part_source, nullptr, report); }),
            "Contents of ExternalReferenceTable for VRPart Storage:\n"
            "  housing.prt\n  sh.PRT\n  notes\n  housing.prt\n"
            "Contents of ExternalReferenceTable for Fast Load Partition Storage:\n  <none>\n");
  EXPECT_EQ(output_of([&](auto& report) {
              read_referenced_parts(&part_source, &fast_source, inspect::ReferenceList::most_recent, report);
            }),
            "\nReferenced parts (most recent):\n  housing.prt\n  sh.PRT\n  gro\xC3\x9F.prt\n");
}

TEST(ExternalReferences, FindsTextsAcrossPiecesAndCutsEndlessOnes) {
  const std::string bytes =
      std::string(65'530, '\0') + named("crossing\xC3\x9Fxx.prt") + std::string(10'000, 'x');
  auto source = source_over(bytes);
  const std::string out =
      output_of([&](auto& report) { read_external_references(&source, nullptr, report); });
  EXPECT_NE(out.find("\n  crossing\xC3\x9Fxx.prt\n"), std::string::npos);
  EXPECT_NE(out.find("  " + std::string(4096, 'x') + "\n"), std::string::npos);
  EXPECT_EQ(std::ranges::count(out, 'x'), 10'000 + 4);
}

}  // namespace
