#include <gtest/gtest.h>

#include "tests/support/container_builder.h"
#include "tests/support/part_builder.h"
#include "tests/support/program_runner.h"

namespace {

using namespace test_support;

// Byte offsets in the part header, counted from behind the count word.
constexpr std::size_t kHistory = 8, kFormat = 12, kMachineFormat = 26, kOriginalCodeset = 408, kF1 = 422,
                      kF2 = 424;
constexpr std::size_t kCloneCodes = 426, kLastFiledCodeset = 428, kTemplateType = 430, kF3 = 442;

PartBuilder small_part() {
  PartBuilder part;
  part.version = 69;
  part.add({.id = 1, .type = 7, .bytes = std::string(40, '\r') + std::string(40, '\n')});
  return part;
}

TEST(SummaryText, HeaderWordsThatAreRarelySet) {
  struct Case {
    std::int16_t version;
    std::initializer_list<std::pair<std::size_t, std::uint16_t>> words;
    std::string line;
    int status = 0;
  };
  const std::string confidential = " should be kept confidential within Vantor ****";
  const std::string student = "**** This part was created / saved by student edition";
  const std::string internal = "**** This part is for internal ";
  const std::string snapshot = "**** This part may contain a drawing object snapshot and";
  const std::string clones = "Part was cloned in the operating system\nPart was then cloned in Vaultcenter";
  const std::string old_layout =
      "This file cannot be directly retrieved into V10\nRefile the part in V9.x first";
  const std::string old_concept =
      "This file cannot be retrieved into V10 because\nit contains pre-Phase 6 VRConcept data.";
  const Case cases[] = {
      {69, {{kF1, 1U << 6U}}, internal + "use only and should only be used within Vantor ****"},
      {69, {{kF1, 1U << 8U}}, snapshot + confidential},
      {69, {{kF1, 1U << 10U}}, internal + "development use only and" + confidential},
      {69, {{kF3, 1}}, student},
      {69, {{kF2, 1U << 7U}}, "Part has been cloned more than twice since the last save"},
      {69, {{kF2, 3U << 5U}, {kCloneCodes, 0x52}}, clones},
      {69, {{kTemplateType, 1}}, "Part was Stage Set Template Part"},
      {69, {{kTemplateType, 4}}, "Part was Simplify Template Part"},
      {69, {{kTemplateType, 8}}, "Part was Mass zones top assembly part"},
      {69, {{kTemplateType, 3}}, "Part was ** invalid template type **"},
      {69, {{kOriginalCodeset, 29}}, "Part is from an unknown codeset, 29"},
      {69, {{kLastFiledCodeset, 31}}, "Part last filed in an unknown codeset, 30"},
      {69, {{kF1, 1U << 15U}}, "Part contains intrapart part module."},
      {69, {{kF1, 1U << 15U}, {kF3, 2}}, "Part contains intrapart part module also."},
      {69, {{kF2, 1U << 9U}}, old_layout, 1},
      {69, {{kF2, 1U << 11U}}, old_concept, 1},
      {69, {{kHistory, 0x8009}}, "Pre V10 filing history: V1 V4 V10"},
      {14, {{kFormat, 3}}, "Format: **** invalid value 3 ****"},
      {14, {{kFormat, 1}, {kMachineFormat, 1}}, "Machine format: DG"},
      {14, {{kFormat, 1}, {kMachineFormat, 2}}, "Machine format: VMS"},
      {14, {{kFormat, 1}, {kMachineFormat, 4}}, "Machine format: IBM"},
      {14, {{kFormat, 1}, {kMachineFormat, 16}}, "Machine format: Ultrix"},
      {14, {{kFormat, 1}, {kMachineFormat, 32}}, "Machine format: Unknown"}};
  const TemporaryFolder folder;
  for (const Case& c : cases) {
    PartBuilder part = small_part();
    part.version = c.version;
    for (const auto& [offset, value] : c.words) part.word(offset, value);
    folder.write("part.prt", part.build());
    const auto result = run_program({"part.prt"}, folder.path());
    EXPECT_NE(result.out.find("\n" + c.line + "\n"), std::string::npos) << c.line << "\n" << result.out;
    EXPECT_EQ(result.status, c.status) << c.line << "\n" << result.err;
  }
}

TEST(SummaryText, ModulesOfOtherParts) {
  const auto named = [](const std::string& text) { return std::string("\0\0\0", 3) + text + '\0'; };
  const std::string linked = named("VRX::ModlFeature::LinkedPartModuleExtFileRefType");
  const std::string one = named("VRX::ModlFeature::MainPartModuleExtFileRefType") + named("main.prt") +
                          linked + named("one.prt") + named("other.prt");
  const std::pair<std::string, std::string> cases[] = {
      {one, "Part contain 1 linked part module and having references to\none.prt\n"},
      {one + linked, "Part contains 2 linked part modules and having references to\none.prt\nUnknown\n"}};
  const TemporaryFolder folder;
  for (const auto& [references, lines] : cases) {
    folder.write("part.prt", ContainerBuilder()
                                 .stream("/Root/VR_PART/VR_PART", small_part().build())
                                 .stream("/Root/VR_PART/ExternalReferences", references)
                                 .bytes());
    const auto result = run_program({"part.prt"}, folder.path());
    EXPECT_NE(result.out.find("\nPart is Linked Part Module part whose main part is\nmain.prt\n" + lines),
              std::string::npos)
        << result.out;
  }
}

}  // namespace
