#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>
#include <iterator>

#include "tests/support/container_builder.h"
#include "tests/support/lz4_frame.h"
#include "tests/support/part_builder.h"
#include "tests/support/program_runner.h"

namespace {

using namespace test_support;

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
  const std::string flat = "File is not a structured-storage file: ";
  const std::tuple<std::string, int, std::string> cases[] = {{"pipe", 1021080, flat + "pipe"},
                                                             {"/dev/zero", 1021080, flat + "/dev/zero"},
                                                             {"part.prt/x", 1020059, "Not a directory"}};
  for (const auto& [name, status, text] : cases) {
    const auto result = run_program({"-release", name, "part.prt"}, folder.path());
    EXPECT_EQ(result.status, 1) << name;
    EXPECT_EQ(result.err, open_failure(name, status) + "vr_inspect: In file " + name + "\n " + text + "\n");
    EXPECT_TRUE(result.out.starts_with(open_failure(name, status) + "...Running")) << result.out;
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
                   .stream("/Root/VR_PART/VR_PART", lz4_frame(part))
                   .stream("/Root/COMPATIBILITY", "KX 2506\r\nfirst\rsecond\r\n")
                   .stream("/Root/VR_PART/LastSavedToggleInfoStream", std::string("\1\0\0\0\0\7\0\0\0", 9))
                   .bytes());
  const std::string no_container = " File is not a structured-storage file: flat.prt\n";
  const std::string mismatch = " Feature toggle information checksums mismatch: 1130508800 and 7\n";
  const std::string empty =
      "...Running KX 2606 version of vr_inspect on empty.prt\n**** File is empty, not a valid part file\n";
  const std::string release = "Part name: framed.prt\nRelease: KX 2512\n\n";
  const std::string compatible = "\nEarliest compatible release: KX 2506\nfirst\\x0Dsecond\n";
  // Arguments, status, whether standard error has something, and what standard output has.
  const std::tuple<std::vector<std::string>, int, bool, std::string> cases[] = {
      {{"empty.prt"}, 1, false, empty},
      {{"-extract_all", "flat.prt", "out"}, 1, true, open_failure("out", 1020059)},
      {{"-release", "framed.prt"}, 0, false, release},
      {{"-compatibility", "framed.prt"}, 0, false, compatible},
      {{"-feature_toggle_info", "plain.prt"}, 0, false, "\nFeature toggle information not present.\n"},
      {{"-feature_toggle_info", "framed.prt"}, 1, true, mismatch},
      {{"-extract_stream", "/Root/x", "out", "flat.prt"}, 1, true, no_container}};
  for (const auto& [arguments, status, echoes, out] : cases) {
    const auto result = run_program(arguments, folder.path());
    EXPECT_EQ(result.status, status) << out << result.err;
    EXPECT_EQ(!result.err.empty(), echoes) << out << result.err;
    EXPECT_TRUE(has(result.out, out)) << out << result.out;
  }
  EXPECT_FALSE(folder.has("out"));
}

TEST(Driver, ChecksAsOftenAsItIsAskedToAndThenWritesNothing) {
  const TemporaryFolder folder;
  const std::string name = "damaged_checksums.prt";
  folder.write(name, read_file(sample(name)));
  const std::pair<std::vector<std::string>, unsigned> cases[] = {
      {{"-check_checksums", "-extract_all", name}, 2},
      {{"-scan", "-check_checksums", name}, 1},
      {{"-scan", "-extract_all", name}, 2},
      {{"-scan", "-check_checksums", "-extract", "13", name}, 2}};
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
  folder.write("part.prt",
               ContainerDamage(sound).stream_place("/Root/X/big", 4096, 1 << 30).fix_checksums().bytes());
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
  using Area = ContainerDamage::Area;
  // Nothing in the part needs the footer: only who checks the file asks for it.
  const std::pair<std::string, std::string> cases[] = {
      {ContainerDamage(sound).wrong_checksum(Area::footer).bytes(), ", file has been corrupted\n"},
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
  const std::string unknown = " is unknown - are you using the latest version of vr_inspect?\n";
  const std::string not_done = "vr_inspect: Release update not done correctly in vr_inspect\n";
  const std::tuple<std::int16_t, bool, std::string, std::string> cases[] = {
      {24, false, "Release: reserved for 10.6\n\n", ""},
      {69, true, "Release: KX 2606 (DEV)\n\n", ""},
      {70, false, "Release: KX 2606\n\n", ""},
      {70, true, "Release: complete part (i.e. not selectively filed) (DEV)\n\n", not_done},
      {71, false, "Release number 71" + unknown, ""},
      {0x7FFF, true, "Release number 32767" + unknown, ""}};
  const TemporaryFolder folder;
  for (const auto& [version, development, line, err] : cases) {
    PartBuilder part;
    part.add({.type = 7, .bytes = std::string(80, 'x')}).word(424, development ? 1U << 2U : 0).version =
        version;
    folder.write("part.prt", part.build());
    const auto result = run_program({"-release", "part.prt"}, folder.path());
    EXPECT_TRUE(result.out.ends_with(line)) << result.out;
    EXPECT_EQ(result.err, err);
    EXPECT_EQ(result.status, 0);
  }
}

TEST(Driver, CorruptionEndsThePartitionWorkAndStartsTheScan) {
  const TemporaryFolder folder;
  folder.write("marker.prt", plain_part([](PartBuilder& part) {
                 part.add({.id = 5, .type = 10, .marker = "abcd"}).tail = "x";
               }));
  folder.write("suspect.prt", plain_part([](PartBuilder& part) { part.word(424, 0x18); }));
  const auto certain = run_program({"-release", "-path", "marker.prt"}, folder.path());
  EXPECT_TRUE(
      has(certain.out, "**** Part corruption - marker.prt\n**** Detected possible corruption: file "));
  EXPECT_FALSE(has(certain.out, "Contents of"));
  const auto probable = run_program({"-release", "suspect.prt"}, folder.path());
  EXPECT_TRUE(probable.out.ends_with("**** Probable part corruption - suspect.prt\n")) << probable.out;
}

TEST(Driver, LeavesNothingOpen) {
  const auto result =
      run_program({"-full", "-extref", "bracket.prt", "gearbox.prt", "damaged_cut.prt", "framed.prt"},
                  VRII_SAMPLES, {"VRII_CHECKING_LEVEL=00"});
  EXPECT_FALSE(has(result.err, "Never condition true")) << result.err;
}

}  // namespace
