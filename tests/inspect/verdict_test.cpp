#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "inspect/part_examination.h"
#include "inspect/part_report.h"
#include "inspect/report/json_writer.h"
#include "support/utf8.h"
#include "tests/support/files.h"
#include "tests/support/memory_file.h"

namespace {

using inspect::PartOutcome;
using inspect::Protection;
using test_support::MemoryFile;
using test_support::read_file;
using test_support::sample;

class Collected final : public support::ByteSink {
 public:
  void write(std::string_view bytes) override { text += bytes; }

  std::string text;
};

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = support::first_utf8_character(text).length;
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

PartOutcome outcome_of(const std::string& bytes) {
  const MemoryFile file(bytes);
  Collected document;
  const PartOutcome outcome = inspect::write_part_report(file.name(), {}, document);
  EXPECT_TRUE(is_utf8(document.text));
  return outcome;
}

/// The places of a sound part that are said to be under a checksum: some of each range, its ends among them.
std::vector<std::size_t> verified_places(const std::string& bytes, std::size_t step) {
  const MemoryFile file(bytes);
  inspect::JsonWriter mute;
  inspect::PartDocument document(mute);
  inspect::PartExamination examination(file.name());
  examination.run(document, false);
  EXPECT_EQ(examination.verdict(), inspect::FileVerdict::sound);
  std::vector<std::size_t> places;
  for (const inspect::ByteClaim& claim : examination.bytes()->claims()) {
    if (claim.owner.protection != Protection::verified) continue;
    for (std::uint64_t at = claim.offset; at + 1 < claim.end(); at += step) places.push_back(at);
    places.push_back(claim.end() - 1);
  }
  return places;
}

TEST(Verdict, AnyChangeOfAVerifiedByteIsNoticed) {
  for (const char* name : {"history.prt", "bracket.prt", "obsolete.prt"}) {
    const std::string bytes = read_file(sample(name));
    const std::vector<std::size_t> places = verified_places(bytes, bytes.size() / 150);
    ASSERT_FALSE(places.empty()) << name;
    for (const std::size_t place : places) {
      for (const char flip : {'\x01', '\x80'}) {
        std::string changed = bytes;
        changed[place] = static_cast<char>(changed[place] ^ flip);
        EXPECT_EQ(outcome_of(changed), PartOutcome::findings) << name << ' ' << place;
      }
    }
  }
}

TEST(Verdict, NoCutPartIsSound) {
  for (const char* name : {"flat_le.prt", "bracket.prt", "gearbox.prt"}) {
    const std::string bytes = read_file(sample(name));
    ASSERT_EQ(outcome_of(bytes), PartOutcome::sound) << name;
    for (const std::size_t missing : {1UL, 2UL, 100UL, 300UL, bytes.size() - 20, bytes.size() - 1})
      EXPECT_EQ(outcome_of(bytes.substr(0, bytes.size() - missing)), PartOutcome::findings)
          << name << missing;
    for (std::size_t length = 600; length < bytes.size(); length += bytes.size() / 60)
      EXPECT_EQ(outcome_of(bytes.substr(0, length)), PartOutcome::findings) << name << ' ' << length;
  }
}

}  // namespace
