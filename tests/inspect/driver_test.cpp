#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/container_builder.h"
#include "tests/support/lz4_frame.h"
#include "tests/support/part_builder.h"
#include "tests/support/program_runner.h"

namespace {

using test_support::ContainerBuilder;
using test_support::PartBuilder;
using test_support::run_program;
using test_support::TemporaryFolder;

bool has(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

std::string plain_part(const std::function<void(PartBuilder&)>& change = [](PartBuilder&) {}) {
  PartBuilder part;
  part.version = 69;
  part.add({.id = 1, .type = 7, .bytes = std::string(40, '\r') + std::string(40, '\n')});
  change(part);
  return part.build();
}

std::string open_failure(const std::string& name, int status) {
  return "vr_inspect: In file " + name + "\n could not open " + name + ": status " + std::to_string(status) +
         "\n";
}

TEST(Driver, WhatCanNotBeOpenedIsReportedAndTheNextFileGoesOn) {
  const TemporaryFolder folder;
  folder.write("part.prt", plain_part());
  ::mkfifo((folder.path() / "pipe").c_str(), 0600);
  struct Case {
    std::string name;
    int status;
    std::string text;
  };
  const Case cases[] = {
      {"pipe", 1021080, "File is not a structured-storage file: pipe"},
      {"/dev/zero", 1021080, "File is not a structured-storage file: /dev/zero"},
      {"part.prt/x", 1020059, "Not a directory"},
  };
  for (const Case& c : cases) {
    const auto result = run_program({"-release", c.name, "part.prt"}, folder.path());
    EXPECT_EQ(result.status, 1) << c.name;
    EXPECT_EQ(result.err,
              open_failure(c.name, c.status) + "vr_inspect: In file " + c.name + "\n " + c.text + "\n");
    EXPECT_TRUE(result.out.starts_with(open_failure(c.name, c.status) + "...Running")) << result.out;
    EXPECT_TRUE(has(result.out, "Part name: part.prt\nRelease: KX 2512\n\n"));
  }
}

TEST(Driver, WhatTheKindOfFileDecides) {
  const TemporaryFolder folder;
  const std::string part = plain_part();
  folder.write("empty.prt", "");
  folder.write("flat.prt", part);
  folder.write("plain.prt", ContainerBuilder().stream("/Root/VR_PART/VR_PART", part).bytes());
  folder.write("framed.prt",
               ContainerBuilder()
                   .stream("/Root/VR_PART/VR_PART", test_support::lz4_frame(part))
                   .stream("/Root/COMPATIBILITY", "KX 2506\r\nfirst\rsecond\r\n")
                   .stream("/Root/VR_PART/LastSavedToggleInfoStream", std::string("\1\0\0\0\0\7\0\0\0", 9))
                   .bytes());
  struct Case {
    std::vector<std::string> arguments;
    int status;
    bool echoes;  ///< writes to standard error
    std::string out;
  };
  const std::string no_container = " File is not a structured-storage file: flat.prt\n";
  const std::string mismatch = " Feature toggle information checksums mismatch: 1130508800 and 7\n";
  const std::string empty =
      "...Running KX 2606 version of vr_inspect on empty.prt\n**** File is empty, not a valid part file\n";
  const std::string release = "Part name: framed.prt\nRelease: KX 2512\n\n";
  const std::string compatible = "\nEarliest compatible release: KX 2506\nfirst\\x0Dsecond\n";
  const Case cases[] = {
      {{"empty.prt"}, 1, false, empty},
      {{"-extract_all", "flat.prt", "out"}, 1, true, open_failure("out", 1020059)},
      {{"-release", "framed.prt"}, 0, false, release},
      {{"-compatibility", "framed.prt"}, 0, false, compatible},
      {{"-feature_toggle_info", "plain.prt"}, 0, false, "\nFeature toggle information not present.\n"},
      {{"-feature_toggle_info", "framed.prt"}, 1, true, mismatch},
      {{"-extract_stream", "/Root/x", "out", "flat.prt"}, 1, true, no_container},
  };
  for (const Case& c : cases) {
    const auto result = run_program(c.arguments, folder.path());
    EXPECT_EQ(result.status, c.status) << c.out << result.err;
    EXPECT_EQ(!result.err.empty(), c.echoes) << c.out << result.err;
    EXPECT_TRUE(has(result.out, c.out)) << c.out << result.out;
  }
  EXPECT_FALSE(folder.has("out"));
}

TEST(Driver, ChecksAsOftenAsItIsAskedToAndThenWritesNothing) {
  const TemporaryFolder folder;
  const std::string name = "damaged_checksums.prt";
  folder.write(name, test_support::read_file(test_support::sample(name)));
  const std::pair<std::vector<std::string>, unsigned> cases[] = {
      {{"-check_checksums", "-extract_all", name}, 2},
      {{"-scan", "-check_checksums", name}, 1},
      {{"-scan", "-extract_all", name}, 2},
      {{"-scan", "-check_checksums", "-extract", "13", name}, 2},
  };
  const std::string finding = "Saved checksum for compressed brepsolid partition id 13 is ";
  for (const auto& [arguments, wanted] : cases) {
    const auto result = run_program(arguments, folder.path());
    EXPECT_EQ(result.status, 1);
    unsigned checks = 0;
    for (std::size_t at = 0; (at = result.out.find(finding, at)) != std::string::npos; ++at) ++checks;
    EXPECT_EQ(checks, wanted) << arguments[1] << result.out;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << arguments[1];
  }
}

TEST(Driver, AContainerWithoutAPartStreamStillGivesUpItsStreams) {
  const TemporaryFolder folder;
  ContainerBuilder().stream("/Root/notes/text", "the text").write((folder.path() / "bare.prt").string());
  const auto result =
      run_program({"-storages", "-extract_stream", "notes/text", "text.out", "bare.prt"}, folder.path());
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.out.starts_with("vr_inspect: In file bare.prt\n could not open bare.prt: status "));
  EXPECT_TRUE(has(result.out, "Uses KVPM storage (file format 6)\n"));
  EXPECT_EQ(folder.read("text.out"), "the text");
}

TEST(Driver, AStreamThatReachesBeyondTheFileIsNeverExtractedInSilence) {
  const TemporaryFolder folder;
  const std::string sound =
      ContainerBuilder().stream("/Root/VR_PART/VR_PART", plain_part()).stream("/Root/X/big", "12345").bytes();
  folder.write("part.prt", test_support::ContainerDamage(sound)
                               .stream_place("/Root/X/big", 4096, 1 << 30)
                               .fix_checksums()
                               .bytes());
  const auto copied = run_program({"-extract_stream", "X/big", "big.out", "part.prt"}, folder.path());
  EXPECT_EQ(copied.status, 1);
  EXPECT_TRUE(has(copied.err, "output file big.out is incomplete")) << copied.err;
  EXPECT_TRUE(copied.out.ends_with("The file appears to have been truncated.\n")) << copied.out;
  EXPECT_EQ(run_program({"-storages", "part.prt"}, folder.path()).status, 1);
  EXPECT_EQ(run_program({"part.prt"}, folder.path()).status, 1);
}

TEST(Driver, ADamagedIndexIsCorruption) {
  const TemporaryFolder folder;
  const std::string sound = ContainerBuilder().stream("/Root/VR_PART/VR_PART", plain_part()).bytes();
  using Area = test_support::ContainerDamage::Area;
  folder.write("part.prt", test_support::ContainerDamage(sound).wrong_checksum(Area::header).bytes());
  const auto result = run_program({"part.prt"}, folder.path());
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "vr_inspect: In file part.prt\n could not open corrupted file part.prt\n");
  EXPECT_TRUE(has(result.err, "file has been corrupted\n"));
  // Nothing in the part needs the footer: only who checks the file asks for it.
  const std::pair<std::string, std::string> cases[] = {
      {test_support::ContainerDamage(sound).wrong_checksum(Area::footer).bytes(),
       ", file has been corrupted\n"},
      {sound.substr(0, sound.size() - 9),
       " on part.prt\nThe file appears to have been truncated.\nvr_inspect: In file part.prt\n"
       " unexpected end of stream\n"}};
  for (const auto& [bytes, told] : cases) {
    folder.write("part.prt", bytes);
    for (const std::string check : {"-scan", "-check_checksums", "-release"}) {
      const auto checked = run_program({check, "part.prt"}, folder.path());
      EXPECT_EQ(checked.status, check == "-release" ? 0 : 1);
      EXPECT_EQ(has(checked.out, told), check != "-release") << checked.out;
      EXPECT_FALSE(has(checked.out, "No corruptions identified"));
    }
  }
}

TEST(Driver, ReleaseNumbersHaveNames) {
  struct Case {
    std::int16_t version;
    bool development;
    std::string line;
    std::string err = {};
  };
  const std::string unknown = " is unknown - are you using the latest version of vr_inspect?\n";
  const Case cases[] = {
      {24, false, "Release: reserved for 10.6\n\n"},
      {69, true, "Release: KX 2606 (DEV)\n\n"},
      {70, false, "Release: KX 2606\n\n"},
      {70, true, "Release: complete part (i.e. not selectively filed) (DEV)\n\n",
       "vr_inspect: Release update not done correctly in vr_inspect\n"},
      {71, false, "Release number 71" + unknown},
      {0x7FFF, true, "Release number 32767" + unknown},
  };
  const TemporaryFolder folder;
  for (const Case& c : cases) {
    folder.write("part.prt", plain_part([&](PartBuilder& part) {
                   part.version = c.version;
                   if (c.development) part.word(424, 1U << 2U);
                 }));
    const auto result = run_program({"-release", "part.prt"}, folder.path());
    EXPECT_TRUE(result.out.ends_with(c.line)) << result.out;
    EXPECT_EQ(result.err, c.err);
    EXPECT_EQ(result.status, 0);
  }
}

TEST(Driver, CorruptionEndsThePartitionWorkAndStartsTheScan) {
  const TemporaryFolder folder;
  folder.write("marker.prt", plain_part([](PartBuilder& part) {
                 part.add({.id = 5, .type = 10, .marker = "abcd"});
                 part.tail = "x";
               }));
  folder.write("suspect.prt", plain_part([](PartBuilder& part) { part.word(424, 0x18); }));
  const auto certain = run_program({"-release", "-path", "marker.prt"}, folder.path());
  EXPECT_TRUE(has(certain.out,
                  "**** Part corruption - marker.prt\n**** Detected possible corruption: file does not "
                  "end with terminating character\n"))
      << certain.out;
  EXPECT_TRUE(certain.err.ends_with("**** Part corruption - marker.prt\n"));
  EXPECT_FALSE(has(certain.out, "Contents of"));
  const auto probable = run_program({"-release", "suspect.prt"}, folder.path());
  EXPECT_TRUE(probable.out.ends_with("**** Probable part corruption - suspect.prt\n")) << probable.out;
  EXPECT_EQ(probable.status, 1);
}

TEST(Driver, LeavesNothingOpen) {
  const auto result =
      run_program({"-full", "-extref", "bracket.prt", "gearbox.prt", "damaged_cut.prt", "framed.prt"},
                  VRII_SAMPLES, {"VRII_CHECKING_LEVEL=00"});
  EXPECT_FALSE(has(result.err, "Never condition true")) << result.err;
}

}  // namespace
