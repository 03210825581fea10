#include "cfi/tools/corruption_scan.h"

#include <gtest/gtest.h>

#include <random>

#include "inspect/report/corruption_scan_text.h"
#include "support/text_format.h"
#include "tests/support/captured.h"
#include "tests/support/program_runner.h"

namespace {

using cfi_tools::ScanVerdict;

constexpr std::size_t kBlock = 8192;
const std::string kNetwork = "    This might be the result of some network transfer problem\n";

std::string scan(const std::string& content, std::int32_t version, bool statistics,
                 ScanVerdict expected = ScanVerdict::corrupt) {
  static const test_support::TemporaryFolder folder;
  const std::string file = folder.write("part", content);
  ScanVerdict verdict = {};
  std::string output = test_support::captured([&] {
                         inspect::CorruptionScanText text({.statistics = statistics});
                         verdict =
                             cfi_tools::scan_for_corruption({.file_name = file, .version = version}, text);
                       }).out;
  EXPECT_EQ(verdict, expected) << output;
  return output;
}

/// The zero-block findings and the statistics by rules that look at one byte after the other.
std::string findings_byte_by_byte(const std::string& content) {
  std::string out;
  unsigned long long total = 0, cr = 0, lf = 0, crlf = 0, lfcr = 0, zeroes = 0, run = 0, series = 0,
                     start = 0;
  char previous = 0;
  const auto report = [&] {
    out +=
        support::format_text("*** Detected possible corruption: zero block size %llu found at offset %llu\n",
                             series * kBlock, start) +
        kNetwork;
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
  if (series > 0) out += "*** Detected unrecoverable corruption: file only contains zero bytes\n" + kNetwork;
  out += support::format_text("Number of CR's ..... %10llu\nNumber of LF's ..... %10llu\n", cr, lf);
  out += support::format_text("Number of CRLF's ... %10llu\nNumber of LFCR's ... %10llu\n", crlf, lfcr);
  out += support::format_text("Number of zeroes ... %10llu\n", zeroes);
  if (zeroes == 0) {
    out +=
        "**** Detected possible corruption: part contains no zero bytes (0x00)\n"
        "     This is often the result of incorrectly transferring the part between systems\n";
  }
  return out;
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
  const std::size_t lengths[] = {0,
                                 1,
                                 31,
                                 32,
                                 33,
                                 64 * 3 + 1,
                                 255 * 32 - 1,
                                 255 * 64 + 65,
                                 kBlock - 1,
                                 kBlock,
                                 kBlock + 1,
                                 3 * kBlock,
                                 32 * kBlock - 1,
                                 32 * kBlock,
                                 32 * kBlock + 1,
                                 70 * kBlock + 17};
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
      const std::string expected = findings_byte_by_byte(content);
      const bool corrupt = expected.find("corruption") != std::string::npos;
      EXPECT_EQ(scan(content, -939, true, corrupt ? ScanVerdict::corrupt : ScanVerdict::clean), expected);
    }
  }
}

TEST(CorruptionScan, SaysWhatTheEndAndTheLineEndsTell) {
  const std::string terminator =
      "**** Detected possible corruption: file does not end with terminating character\n";
  const std::string boundary =
      "**** Detected possible corruption: file ends on block boundary\n"
      "     This might be the result of some network transfer problem\n";
  const std::string no_zero =
      "**** Detected possible corruption: part contains no zero bytes (0x00)\n"
      "     This is often the result of incorrectly transferring the part between systems\n";
  const auto text_file = [](const char* what) {
    return support::format_text(
        "**** Detected possible corruption: %s\n"
        "     This is often the result of treating the part as if it were a text file\n",
        what);
  };
  const std::string no_lf = text_file("part contains no Linefeeds (0x0a)");
  const std::string cr_on_lf = text_file("Carriage Returns found on all Linefeeds");
  const std::string no_cr = text_file("part contains no Carriage Returns (0x0d)");
  const std::string lf_on_cr = text_file("Linefeeds found on all Carriage Returns");
  const std::string sound("\r \n\0 \xff", 6);
  const struct {
    const char* what;
    std::string content;
    std::int32_t version;
    std::string output;
  } cases[] = {
      {"a sound part", sound, 70, ""},
      {"not terminated", sound + "x", 15, terminator},
      {"not terminated, too old to tell", sound + "x", 14, ""},
      {"cut at a disk block", sound + std::string(250, 'x'), 15, terminator + boundary},
      {"a storage file needs no terminator", "KVPMSSTR" + sound + "x", 70, ""},
      {"so does the other kind", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + sound + "x", 70, ""},
      {"too short for a signature", std::string("\r \n\0", 4), 70, terminator},
      {"LF became CRLF", std::string("\r\n \r\0\xff", 6), 70, cr_on_lf},
      {"CR became CRLF", std::string("\r\n \n\0\xff", 6), 70, lf_on_cr},
      {"LF became LFCR", std::string("\n\r \r\0\xff", 6), 70, cr_on_lf},
      {"no LF", std::string("\r\0\xff", 3), 70, no_lf},
      {"no CR", std::string("\n\0\xff", 3), 70, no_cr},
      {"no zero byte", "\r \n\xff", 70, no_zero},
      {"version not read", "x", -939, no_zero},
      {"empty", "", 15, terminator + boundary + no_lf + no_cr + no_zero},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(scan(c.content, c.version, false, c.output.empty() ? ScanVerdict::clean : ScanVerdict::corrupt),
              c.output);
  }
}

TEST(CorruptionScan, SpeaksOnlyWhenAsked) {
  const test_support::TemporaryFolder folder;
  const std::string file = folder.write("part", std::string("\r \n\0 \xff", 6));
  const std::string announced = "     Scanning for some known file copying corruptions ....\n";
  const struct {
    std::string name;
    bool silent;
    bool announces;
    ScanVerdict verdict;
    std::string output;
  } cases[] = {
      {file, false, true, ScanVerdict::clean, announced + "Found no known file copying corruptions\n"},
      {file, false, false, ScanVerdict::clean, ""},
      {"/nonexistent/part", false, true, ScanVerdict::not_opened, announced},
      {"/nonexistent/part", true, false, ScanVerdict::clean, ""},
      {"/tmp", false, false, ScanVerdict::not_opened, ""},
  };
  for (const auto& c : cases) {
    const auto output = test_support::captured([&] {
      inspect::CorruptionScanText text({.announces = c.announces});
      EXPECT_EQ(
          cfi_tools::scan_for_corruption({.file_name = c.name, .silent = c.silent, .version = 70}, text),
          c.verdict);
    });
    EXPECT_EQ(output.out, c.output);
  }
}

}  // namespace
