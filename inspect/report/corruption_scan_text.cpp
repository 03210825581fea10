#include "inspect/report/corruption_scan_text.h"

namespace inspect {

using cfi_tools::ScanFindingKind;

namespace {

// What a finding may come from.
constexpr const char* kTransferLine = "    This might be the result of some network transfer problem\n";
constexpr const char* kBoundaryLine = "     This might be the result of some network transfer problem\n";
constexpr const char* kTextFileLine =
    "     This is often the result of treating the part as if it were a text file\n";
constexpr const char* kZeroLine =
    "     This is often the result of incorrectly transferring the part between systems\n";

struct FindingText {
  ScanFindingKind kind;
  const char* text;
  const char* cause;
};

// zero_blocks has its numbers in its text.
constexpr FindingText kTexts[] = {
    {ScanFindingKind::read_failed, "Trouble reading file while scanning for corruptions\n", ""},
    {ScanFindingKind::unexpected_end, "Unexpected EOF while scanning for corruptions\n", ""},
    {ScanFindingKind::only_zeroes, "*** Detected unrecoverable corruption: file only contains zero bytes\n",
     kTransferLine},
    {ScanFindingKind::not_terminated,
     "**** Detected possible corruption: file does not end with terminating character\n", ""},
    {ScanFindingKind::ends_on_block_boundary,
     "**** Detected possible corruption: file ends on block boundary\n", kBoundaryLine},
    {ScanFindingKind::no_line_feeds, "**** Detected possible corruption: part contains no Linefeeds (0x0a)\n",
     kTextFileLine},
    {ScanFindingKind::returns_on_all_line_feeds,
     "**** Detected possible corruption: Carriage Returns found on all Linefeeds\n", kTextFileLine},
    {ScanFindingKind::no_carriage_returns,
     "**** Detected possible corruption: part contains no Carriage Returns (0x0d)\n", kTextFileLine},
    {ScanFindingKind::line_feeds_on_all_returns,
     "**** Detected possible corruption: Linefeeds found on all Carriage Returns\n", kTextFileLine},
    {ScanFindingKind::no_zero_bytes,
     "**** Detected possible corruption: part contains no zero bytes (0x00)\n", kZeroLine},
};

}  // namespace

void CorruptionScanText::begin() {
  if (!options_.announces) return;
  console_.print_text("     Scanning for some known file copying corruptions ....\n");
}

void CorruptionScanText::finding(const cfi_tools::ScanFinding& found) {
  if (found.kind == ScanFindingKind::zero_blocks) {
    console_.print("*** Detected possible corruption: zero block size %llu found at offset %llu\n",
                   static_cast<unsigned long long>(found.size),
                   static_cast<unsigned long long>(found.offset));
    console_.print_text(kTransferLine);
    return;
  }
  for (const FindingText& known : kTexts) {
    if (known.kind != found.kind) continue;
    console_.print_text(known.text);
    console_.print_text(known.cause);
  }
}

void CorruptionScanText::statistics(const cfi_tools::ByteCounts& counts) {
  if (!options_.statistics) return;
  const auto line = [this](const char* label, std::uint64_t count) {
    console_.print("Number of %s %10llu\n", label, static_cast<unsigned long long>(count));
  };
  line("CR's .....", counts.carriage_returns);
  line("LF's .....", counts.line_feeds);
  line("CRLF's ...", counts.crlf_pairs);
  line("LFCR's ...", counts.lfcr_pairs);
  line("zeroes ...", counts.zeroes);
}

void CorruptionScanText::end(cfi_tools::ScanVerdict verdict) {
  if (verdict != cfi_tools::ScanVerdict::clean || !options_.announces) return;
  console_.print_text("Found no known file copying corruptions\n");
}

}  // namespace inspect
