#include "inspect/sections/finding_list.h"

#include <algorithm>
#include <climits>

namespace inspect {

using support::Finding;
using support::Rule;
using support::Severity;

namespace {

constexpr std::size_t kKeptFindings = 1000;

bool is_same(const Finding& a, const Finding& b) {
  return a.rule == b.rule && a.message == b.message && a.place.partition == b.place.partition &&
         a.place.stream == b.place.stream && a.place.stream_offset == b.place.stream_offset;
}

/// Damage that explains what is found behind it.
bool is_cause(Rule rule) {
  switch (rule) {
    case Rule::copy_zero_blocks:
    case Rule::copy_only_zeroes:
    case Rule::copy_no_line_feeds:
    case Rule::copy_all_line_feeds_with_cr:
    case Rule::copy_no_carriage_returns:
    case Rule::copy_all_carriage_returns_with_lf:
    case Rule::copy_no_zeroes:
    case Rule::copy_no_high_bits:
    case Rule::copy_no_terminator:
    case Rule::transfer_vms:
    case Rule::file_truncated:
      return true;
    default:
      return false;
  }
}

/// It concerns the whole file, and no bytes in particular.
bool is_everywhere(const Finding& finding) {
  return is_cause(finding.rule) && finding.rule != Rule::copy_zero_blocks &&
         finding.rule != Rule::file_truncated && finding.rule != Rule::copy_no_terminator;
}

bool shares_bytes(const Finding& cause, const Finding& finding, const ByteMap& map) {
  if (!cause.place.file_offset || !finding.place.file_offset) return false;
  const std::uint64_t begin = *cause.place.file_offset;
  const std::uint64_t end = begin + cause.place.length.value_or(1);
  const std::uint64_t at = *finding.place.file_offset;
  if (at < end && at + finding.place.length.value_or(1) > begin) return true;
  // A record is judged where it ends, or by a checksum that stands apart: its partition tells.
  if (!finding.place.partition) return false;
  const auto& ranges = map.claims();
  for (auto range = std::ranges::upper_bound(ranges, begin, {}, &ByteClaim::end);
       range != ranges.end() && range->offset < end; ++range) {
    if (range->owner.kind == ByteOwner::Kind::partition &&
        range->owner.partition == *finding.place.partition) {
      return true;
    }
  }
  return false;
}

/// What a cut file lacks cannot be read, and what was found by its end is not where it was.
bool follows_from_cut(const Finding& finding) {
  switch (finding.rule) {
    case Rule::record_end_of_file:
    case Rule::container_end_of_stream:
    case Rule::container_element_missing:
    case Rule::container_compound:
    case Rule::container_compound_entry:
    case Rule::container_framing:
    case Rule::container_index:
    case Rule::container_last_sector:
    case Rule::copy_block_boundary:
    case Rule::solid_truncated:
    case Rule::partition_bounds:
    case Rule::index_entry:
    case Rule::jt_body:
    case Rule::jt_table:
      return true;
    case Rule::om_checksum:
      return finding.expected.empty();  // the stored one lies behind the end
    default:
      return false;
  }
}

/// Causes come by rank: what was done to all bytes, zero blocks, a missing end, a missing last byte.
int rank_of(const Finding& cause) {
  if (is_everywhere(cause)) return 0;
  if (cause.rule == Rule::copy_zero_blocks) return 1;
  return cause.rule == Rule::file_truncated ? 2 : 3;
}

bool explains(const Finding& cause, const Finding& finding, const ByteMap& map) {
  if (finding.severity() == Severity::note || cause.rule == finding.rule) return false;
  if (is_cause(finding.rule)) {
    return rank_of(cause) < rank_of(finding) && finding.rule == Rule::copy_no_terminator &&
           (cause.rule != Rule::copy_zero_blocks || shares_bytes(cause, finding, map));
  }
  if (is_everywhere(cause)) return true;
  if (cause.rule != Rule::copy_zero_blocks) return follows_from_cut(finding);
  return shares_bytes(cause, finding, map);
}

/// The ids of the partitions that own bytes of a range, in file order, a few of them.
std::vector<std::int32_t> partitions_in(const ByteMap& map, std::uint64_t begin, std::uint64_t end) {
  constexpr std::size_t kNamed = 20;
  std::vector<std::int32_t> ids;
  const auto& ranges = map.claims();
  for (auto range = std::ranges::upper_bound(ranges, begin, {}, &ByteClaim::end);
       range != ranges.end() && range->offset < end && ids.size() <= kNamed; ++range) {
    if (range->owner.kind != ByteOwner::Kind::partition) continue;
    if (ids.empty() || ids.back() != range->owner.partition) ids.push_back(range->owner.partition);
  }
  return ids;
}

std::string hit_partitions(const std::vector<std::int32_t>& ids) {
  if (ids.empty()) return "no partition is touched";
  if (ids.size() == 1)
    return "partition " + std::to_string(ids[0]) + " is hit; no other partition is touched";
  std::string text = "the partitions ";
  for (std::size_t i = 0; i < ids.size(); ++i) text += (i == 0 ? "" : ", ") + std::to_string(ids[i]);
  return text + " are hit; no other partition is touched";
}

std::string effect_of_zeroes(const Finding& finding, const ByteMap& map) {
  const std::uint64_t begin = finding.place.file_offset.value_or(0);
  return hit_partitions(partitions_in(map, begin, begin + finding.place.length.value_or(0)));
}

/// What follows from a cut tells which partitions are hit.
std::string effect_of_cut(Rule cause, const std::vector<ListedFinding>& rows) {
  std::vector<std::int32_t> ids;
  for (const ListedFinding& row : rows) {
    if (row.caused_by != cause) continue;
    if (row.finding.rule == Rule::index_entry)
      return "the partitions whose place lies behind the end are lost";
    if (row.finding.place.partition) ids.push_back(*row.finding.place.partition);
  }
  std::ranges::sort(ids);
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  const std::string what =
      cause == Rule::file_truncated ? "what is listed behind the end of the file is lost; " : "";
  return what + hit_partitions(ids);
}

std::string effect_of(const Finding& finding, const ByteMap& map) {
  const std::string id = std::to_string(finding.place.partition.value_or(0));
  switch (finding.rule) {
    case Rule::copy_zero_blocks:
      return effect_of_zeroes(finding, map);
    case Rule::copy_no_line_feeds:
    case Rule::copy_all_line_feeds_with_cr:
    case Rule::copy_no_carriage_returns:
    case Rule::copy_all_carriage_returns_with_lf:
    case Rule::copy_no_zeroes:
    case Rule::copy_no_high_bits:
    case Rule::transfer_vms:
      return "no partition can be trusted";
    case Rule::copy_only_zeroes:
      return "nothing is left";
    case Rule::record_end_of_file:
      return finding.place.partition ? "partition " + id + " cannot be read whole" : "";
    case Rule::solid_inflate:
    case Rule::solid_truncated:
      return finding.place.partition ? "solid " + id + " cannot be extracted whole" : "";
    case Rule::solid_adler32_stored:
    case Rule::solid_adler32_expanded:
    case Rule::solid_size:
      return "solid " + id + " cannot be trusted";
    case Rule::om_checksum:
      return "what partition " + id + " says cannot be trusted";
    case Rule::partition_marker:
    case Rule::partition_bounds:
      return finding.place.partition ? "partition " + id + " cannot be read" : "";
    default:
      return "";
  }
}

/// What lies at the place, when nobody has said so.
void complete_place(support::Place& place, const ByteMap& map, std::string_view part_stream,
                    const std::function<std::string(std::uint64_t)>& path_of) {
  const ByteClaim* claim = place.stream_offset ? nullptr : map.find(*place.file_offset);
  if (claim == nullptr) return;
  const ByteClaim& range = *claim;
  if (range.stream_offset != ByteClaim::kNoOffset) {
    place.stream_offset = range.stream_offset + (*place.file_offset - range.offset);
  }
  switch (range.owner.kind) {
    case ByteOwner::Kind::none:
      break;
    case ByteOwner::Kind::container:
      if (place.field.empty()) place.field = range.owner.field;
      break;
    case ByteOwner::Kind::stream:
      place.stream = path_of(range.owner.stream);
      break;
    case ByteOwner::Kind::partition:
      if (!place.partition) place.partition = range.owner.partition;
      [[fallthrough]];
    case ByteOwner::Kind::part:
      place.stream = part_stream;
      if (place.field.empty()) place.field = range.owner.field;
  }
}

}  // namespace

std::string_view verdict_name(FileVerdict verdict) {
  constexpr std::array<std::string_view, 5> kNames = {"sound", "suspect", "damaged", "unreadable",
                                                      "not_a_part"};
  return kNames[static_cast<std::size_t>(verdict)];
}

void FindingList::report(const Finding& finding) {
  // Not about the file, or told by the finding that it follows.
  if (finding.manner == support::Manner::notice || finding.manner == support::Manner::cause) return;
  if (std::ranges::any_of(rows_, [&](const auto& row) { return is_same(row.finding, finding); })) return;
  ++counts_[static_cast<std::size_t>(finding.severity())];
  if (rows_.size() == kKeptFindings) {
    ++left_out_;
  } else {
    rows_.push_back({finding, std::nullopt});
  }
}

void FindingList::explain(const ByteMap& map, std::string_view part_stream,
                          const std::function<std::string(std::uint64_t)>& path_of) {
  const auto rank = [](const ListedFinding& row) {
    return is_cause(row.finding.rule) ? rank_of(row.finding) : INT_MAX;
  };
  std::ranges::stable_sort(rows_, {}, rank);
  for (ListedFinding& row : rows_) {
    if (row.finding.place.file_offset) complete_place(row.finding.place, map, part_stream, path_of);
    if (row.finding.effect.empty()) row.finding.effect = effect_of(row.finding, map);
    for (const ListedFinding& cause : rows_) {
      if (!is_cause(cause.finding.rule)) break;
      if (!explains(cause.finding, row.finding, map)) continue;
      row.caused_by = cause.finding.rule;
      break;
    }
  }
  for (ListedFinding& row : rows_) {
    const Rule rule = row.finding.rule;
    const bool is_cut = rule == Rule::file_truncated || rule == Rule::copy_no_terminator;
    if (is_cut && !row.caused_by && row.finding.effect.empty())
      row.finding.effect = effect_of_cut(rule, rows_);
  }
}

FileVerdict FindingList::verdict() const {
  const auto is_corrupt = [](const ListedFinding& row) {
    return (support::row_of(row.finding.rule).marks & support::kCertainCorruption) != 0;
  };
  if (count(Severity::error) != 0 || std::ranges::any_of(rows_, is_corrupt)) return FileVerdict::damaged;
  return count(Severity::warning) != 0 ? FileVerdict::suspect : FileVerdict::sound;
}

}  // namespace inspect
