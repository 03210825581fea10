#include "cfi/tools/corruption_scan.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "inspect/report/corruption_scan_text.h"
#include "support/text_format.h"
#include "tests/support/captured.h"
#include "tests/support/program_runner.h"

namespace {

using cfi_tools::ScanVerdict;

constexpr std::size_t kBlock = 8192;
const std::string kNetwork = "This might be the result of some network transfer problem\n";

std::string possible(const std::string& what, const std::string& why) {
  return "**** Detected possible corruption: " + what + "\n     " + why;
}

const std::string kNoZero =
    possible("part contains no zero bytes (0x00)",
             "This is often the result of incorrectly transferring the part between systems\n");

using Scanned = std::pair<ScanVerdict, std::string>;

Scanned scan(const cfi_tools::CorruptionScanRequest& request, bool announces, bool statistics = false) {
  Scanned scanned;
  support::Console console;
  inspect::CorruptionScanText text({.announces = announces, .statistics = statistics}, console);
  const auto run = [&] { scanned.first = cfi_tools::scan_for_corruption(request, text); };
  scanned.second = test_support::captured(console, run).out;
  return scanned;
}

/// What a scan prints; whether it finds corruption must be what the expected text says.
void expect_scan(const std::string& content, std::int32_t version, bool statistics,
                 const std::string& expected) {
  static const test_support::TemporaryFolder folder;
  const bool corrupt = expected.find("corruption") != std::string::npos;
  EXPECT_EQ(scan({.file_name = folder.write("part", content), .version = version}, false, statistics),
            Scanned(corrupt ? ScanVerdict::corrupt : ScanVerdict::clean, expected))
      << testing::PrintToString(content.substr(0, 300));
}

/// The zero-block findings and the statistics by rules that look at one byte after the other.
std::string findings_byte_by_byte(const std::string& content) {
  std::string out;
  std::size_t total = 0, cr = 0, lf = 0, crlf = 0, lfcr = 0, zeroes = 0, run = 0, series = 0, start = 0;
  char previous = 0;
  const auto report = [&] {
    out += support::format_text("*** Detected possible corruption: zero block size %zu found at offset %zu\n",
                                series * kBlock, start);
    out += "    " + kNetwork;
    series = 0;
  };
  for (const char byte : content) {
    ++total;
    if (byte != 0) run = 0;
    if (byte == '\n') ++lf, crlf += previous == '\r';
    if (byte == '\r') ++cr, lfcr += previous == '\n';
    if (byte == 0) ++zeroes, ++run;
    previous = byte;
    if (total % kBlock == 0) {
      if (run == kBlock && series++ == 0) start = total - kBlock;
      run = 0;
    }
    if (byte != 0 && series > 0) report();
  }
  if (series > 0 && zeroes < total) report();
  if (series > 0)
    out += "*** Detected unrecoverable corruption: file only contains zero bytes\n    " + kNetwork;
  out += support::format_text(
      "Number of CR's ..... %10zu\nNumber of LF's ..... %10zu\nNumber of CRLF's ... %10zu\n"
      "Number of LFCR's ... %10zu\nNumber of zeroes ... %10zu\n",
      cr, lf, crlf, lfcr, zeroes);
  return zeroes == 0 ? out + kNoZero : out;
}

TEST(CorruptionScan, GivesWhatTheByteByByteRulesGive) {
  std::mt19937 random(7);
  const std::string alphabets[] = {std::string("\0\r\n", 3),   "\r\n", std::string(1, '\0'), "\n", "a\r",
                                   std::string("ab\0\r\nc", 6)};
  const auto fill = [&](std::size_t size) {
    const std::string& letters = alphabets[random() % std::size(alphabets)];
    std::string text(size, '\0');
    for (char& byte : text) byte = letters[random() % letters.size()];
    return text;
  };
  // Lengths around the blocks, the rows of the counting loops and the reads of 32 blocks.
  const std::size_t lengths[] = {0,    1,    31,    32,    33,     193,    8159,   8191,
                                 8192, 8193, 16385, 24576, 262143, 262144, 262145, 573457};
  for (const std::size_t length : lengths) {
    for (int round = 0; round < 3; ++round) {
      std::string content = fill(length);
      for (unsigned i = 0; i < 4 && length > 2 * kBlock; ++i) {  // zero runs, aligned or one byte beside it
        const std::size_t run = kBlock * (1 + random() % 3) + random() % 3;
        const std::size_t at = random() % (length / kBlock) * kBlock + random() % 2;
        for (std::size_t j = at; j < std::min(length, at + run); ++j) content[j] = '\0';
      }
      const std::string led = '\r' + content;
      const auto* const bytes = reinterpret_cast<const unsigned char*>(led.data()) + 1;
      EXPECT_EQ(cfi_tools::count_bytes(bytes, length), cfi_tools::count_bytes_in_lanes(bytes, length));
      expect_scan(content, -939, true, findings_byte_by_byte(content));
    }
  }
}

TEST(CorruptionScan, SaysWhatTheEndAndTheLineEndsTell) {
  const std::string terminator =
      "**** Detected possible corruption: file does not end with terminating character\n";
  const std::string boundary = possible("file ends on block boundary", kNetwork);
  const auto text_file = [](const std::string& what) {
    return possible(what, "This is often the result of treating the part as if it were a text file\n");
  };
  const std::string no_lf = text_file("part contains no Linefeeds (0x0a)");
  const std::string cr_on_lf = text_file("Carriage Returns found on all Linefeeds");
  const std::string no_cr = text_file("part contains no Carriage Returns (0x0d)");
  const std::string lf_on_cr = text_file("Linefeeds found on all Carriage Returns");
  const std::string sound("\r \n\0 \xff", 6);
  const std::tuple<std::string, std::int32_t, std::string> cases[] = {
      {sound, 70, ""},
      {sound + "x", 15, terminator},
      {sound + "x", 14, ""},  // too old to tell
      {sound + std::string(250, 'x'), 15, terminator + boundary},
      {"KVPMSSTR" + sound + "x", 70, ""},  // a storage file needs no terminator
      {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + sound + "x", 70, ""},
      {std::string("\r \n\0", 4), 70, terminator},  // too short for a signature
      {std::string("\r\n \r\0\xff", 6), 70, cr_on_lf},
      {std::string("\r\n \n\0\xff", 6), 70, lf_on_cr},
      {std::string("\n\r \r\0\xff", 6), 70, cr_on_lf},
      {std::string("\r\0\xff", 3), 70, no_lf},
      {std::string("\n\0\xff", 3), 70, no_cr},
      {"\r \n\xff", 70, kNoZero},
      {"x", -939, kNoZero},  // version not read
      {"", 15, terminator + boundary + no_lf + no_cr + kNoZero},
  };
  for (const auto& [content, version, output] : cases) expect_scan(content, version, false, output);
}

TEST(CorruptionScan, SpeaksOnlyWhenAsked) {
  const test_support::TemporaryFolder folder;
  const std::string file = folder.write("part", std::string("\r \n\0 \xff", 6));
  const std::string announced = "     Scanning for some known file copying corruptions ....\n";
  const std::string clean = announced + "Found no known file copying corruptions\n";
  EXPECT_EQ(scan({.file_name = file, .version = 70}, true), Scanned(ScanVerdict::clean, clean));
  EXPECT_EQ(scan({.file_name = file, .version = 70}, false), Scanned(ScanVerdict::clean, ""));
  EXPECT_EQ(scan({.file_name = "/nonexistent/part"}, true), Scanned(ScanVerdict::not_opened, announced));
  EXPECT_EQ(scan({.file_name = "/nonexistent/part", .silent = true}, false), Scanned(ScanVerdict::clean, ""));
  EXPECT_EQ(scan({.file_name = "/tmp"}, false), Scanned(ScanVerdict::not_opened, ""));
}

}  // namespace
