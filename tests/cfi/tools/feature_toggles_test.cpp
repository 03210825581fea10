#include "cfi/tools/feature_toggles.h"

#include <gtest/gtest.h>
#include <xxhash.h>

#include "inspect/report/feature_toggles_text.h"
#include "tests/support/captured.h"
#include "tests/support/record_bytes.h"

namespace {

constexpr std::endian kLittle = std::endian::little;

std::string toggle_stream(std::uint8_t format, std::uint32_t count, const std::vector<std::string>& toggles) {
  test_support::RecordBytes bytes(kLittle);
  bytes.u8(format).u32(count);
  for (const std::string& toggle : toggles) bytes.u32(toggle.size()).raw(toggle);
  return bytes.bytes();
}

std::string with_checksum(const std::string& bytes) {
  return bytes + test_support::RecordBytes(kLittle).u32(XXH32(bytes.data(), bytes.size(), 0)).bytes();
}

std::string print(const std::string& bytes, cfi_tools::ToggleChecksums& checksums) {
  support::MemorySource source(std::as_bytes(std::span(bytes)));
  std::string end;
  support::Console console;
  const auto output = test_support::captured(console, [&] {
    inspect::FeatureTogglesText text(console);
    end = test_support::escape_of([&] { checksums = cfi_tools::read_feature_toggles(source, text); });
  });
  return output.out + end;
}

TEST(FeatureToggles, PrintsEachAndComputesTheChecksum) {
  const std::string long_toggle(200'000, 'x');
  const std::pair<std::string, std::string> cases[] = {
      {toggle_stream(1, 0, {}), "Feature Toggles(Stream Format: 1)\n"},
      {toggle_stream(255, 2, {"FT_A=1", ""}), "Feature Toggles(Stream Format: 255)\nFT_A=1\n\n"},
      {toggle_stream(2, 1, {"a\x1B[2J\n"}), "Feature Toggles(Stream Format: 2)\na\\x1B[2J\\x0A\n"},
      {toggle_stream(2, 1, {long_toggle}), "Feature Toggles(Stream Format: 2)\n" + long_toggle + "\n"},
  };
  for (const auto& [stream, shown] : cases) {
    cfi_tools::ToggleChecksums checksums;
    EXPECT_EQ(print(with_checksum(stream), checksums), shown);
    EXPECT_EQ(checksums.computed, checksums.stored) << shown;
  }
}

TEST(FeatureToggles, PrintsWhatIsThereOfADamagedStream) {
  const std::string end = "1020023 unexpected end of stream LastSavedToggleInfoStream";
  const std::string head = "Feature Toggles(Stream Format: 1)\nFT_A=1\n";
  const std::string one = toggle_stream(1, 0xFFFFFFFF, {"FT_A=1"});
  const auto with_length = [&](std::uint32_t length) {
    return one + test_support::RecordBytes(kLittle).u32(length).bytes() + "abc";
  };
  const std::string too_long =
      "1020023 feature toggle text of 4294967295 bytes in LastSavedToggleInfoStream is too long";
  const std::pair<std::string, std::string> cases[] = {
      {"", end},
      {std::string("\1\1\0", 3), end},
      {one, head + end},  // more announced than there are
      {with_length(4), head + end},
      {with_length(0xFFFFFFFF), head + too_long},
      {toggle_stream(1, 1, {"FT_A=1"}), head + end}};  // no checksum
  cfi_tools::ToggleChecksums checksums;
  for (const auto& [stream, output] : cases) EXPECT_EQ(print(stream, checksums), output);
}

}  // namespace
