#include "inspect/file_findings.h"

namespace inspect {

namespace {

using cfi_tools::ScanFindingKind;
using support::Rule;

Rule rule_of(ScanFindingKind kind) {
  switch (kind) {
    case ScanFindingKind::read_failed:
    case ScanFindingKind::unexpected_end:
      return Rule::copy_not_scanned;
    case ScanFindingKind::zero_blocks:
      return Rule::copy_zero_blocks;
    case ScanFindingKind::only_zeroes:
      return Rule::copy_only_zeroes;
    case ScanFindingKind::not_terminated:
      return Rule::copy_no_terminator;
    case ScanFindingKind::ends_on_block_boundary:
      return Rule::copy_block_boundary;
    case ScanFindingKind::no_line_feeds:
      return Rule::copy_no_line_feeds;
    case ScanFindingKind::returns_on_all_line_feeds:
      return Rule::copy_all_line_feeds_with_cr;
    case ScanFindingKind::no_carriage_returns:
      return Rule::copy_no_carriage_returns;
    case ScanFindingKind::line_feeds_on_all_returns:
      return Rule::copy_all_carriage_returns_with_lf;
    case ScanFindingKind::no_zero_bytes:
      break;
  }
  return Rule::copy_no_zeroes;
}

}  // namespace

void ScanFindings::finding(const cfi_tools::ScanFinding& found) {
  support::Finding finding;
  finding.rule = rule_of(found.kind);
  finding.manner = support::Manner::result;
  finding.message = row_of(finding.rule).meaning;
  if (found.kind == ScanFindingKind::zero_blocks) {
    finding.place.file_offset = found.offset;
    finding.place.length = found.size;
    finding.found.push_back({"zero_bytes", found.size});
  }
  findings_.report(finding);
  next_.finding(found);
}

}  // namespace inspect
