#include <algorithm>

#include "cfi/storage_file.h"
#include "cfi/stream_names.h"
#include "inspect/part_examination.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/sections/container_claims.h"
#include "support/printable.h"

// The account of a file's bytes: who owns them, and what is odd about that.

namespace inspect {

namespace CFI = VRX::System::CFI;

namespace {

constexpr std::size_t kReportedHoles = 20;

std::string owner_text(const ByteOwner& owner, const std::function<std::string(std::uint64_t)>& path_of) {
  switch (owner.kind) {
    case ByteOwner::Kind::none:
      break;
    case ByteOwner::Kind::container:
      return std::string(owner.field);
    case ByteOwner::Kind::stream:
      return "stream " + support::printable(path_of(owner.stream));
    case ByteOwner::Kind::part:
      return "part." + std::string(owner.field);
    case ByteOwner::Kind::partition:
      return "partition " + std::to_string(owner.partition) + '.' + std::string(owner.field);
  }
  return "nobody";
}

}  // namespace

std::string PartExamination::stream_path(std::uint64_t stream) const {
  return file_.container != nullptr ? file_.container->path(stream) : std::string();
}

/// An escape names no place: the facts of the indexes tell which one is meant.
void PartExamination::report_container_damage(const support::ErrorEscape& escape) {
  support::Finding finding;
  finding.rule = rule_of(escape.code());
  finding.message = support::printable(escape.message());
  const auto* facts = container_facts_ ? std::get_if<CFI::KvpmFacts>(&*container_facts_) : nullptr;
  if (facts == nullptr) return findings_.report(finding);
  const auto take = [&](const std::optional<CFI::IndexFacts>& index, const char* field) {
    const bool is_meant = finding.rule == Rule::container_index_checksum
                              ? index && index->xxh32_stored && !index->matches()
                              : index && !index->is_whole;
    if (!is_meant || finding.place.file_offset) return;
    finding.place.file_offset = index->offset;
    finding.place.length = index->length;
    finding.place.field = field;
    if (finding.rule != Rule::container_index_checksum) return;
    finding.found.push_back({"xxh32", std::uint64_t{index->xxh32_computed.value_or(0)}});
    finding.expected.push_back({"xxh32", std::uint64_t{*index->xxh32_stored}});
  };
  take(facts->header_index, "container.header_index");
  take(facts->footer_index, "container.footer_index");
  findings_.report(finding);
}

/// What the container lists, all of it, and what is wrong with it apart from its elements.
void PartExamination::lay_out_container() {
  CFI::StorageFile& container = *file_.container;
  check_truncation();
  std::optional<support::ErrorEscape> failure;
  try {
    container.load_all();
  } catch (const support::ErrorEscape& escape) {
    failure = escape;
  }
  check_truncation();
  for (const std::string& text : container.damage()) report(Rule::container_compound_entry, {}, text);
  attempt(file_, [&] { container_facts_ = container.facts(); });
  if (failure) report_container_damage(*failure);
  check_last_sector();
  attempt(file_, [&] { report_layout_faults(); });
  attempt(file_, [&] {
    const auto storage = container.find_child(CFI::kRootElement, stream_names::kPartStorage);
    if (storage) part_element_ = container.find_child(*storage, stream_names::kPart);
    if (part_element_) part_stream_ = container.path(*part_element_);
  });
}

/// Sectors are written whole: what is behind the last stream's end may be cut all the same.
void PartExamination::check_last_sector() {
  const auto* compound = container_facts_ ? std::get_if<CFI::CompoundFacts>(&*container_facts_) : nullptr;
  if (compound == nullptr || compound->sector_size == 0) return;
  const std::uint64_t rest = *facts_.size % compound->sector_size;
  if (rest == 0) return;
  support::Place place;
  place.file_offset = *facts_.size - rest;
  place.length = rest;
  report(Rule::container_last_sector, std::move(place));
}

/// Overlaps are told by the map.
void PartExamination::report_layout_faults() {
  for (const CFI::LayoutFault& fault : file_.container->layout_faults().rows) {
    if (fault.kind != CFI::LayoutFaultKind::listed_twice) continue;
    support::Place place;
    place.stream = fault.path;
    report(Rule::container_listed_twice, std::move(place), "listed twice: " + support::printable(fault.path));
  }
}

void PartExamination::settle_map() {
  const auto path_of = [this](std::uint64_t stream) { return stream_path(stream); };
  if (file_.container != nullptr) {
    claim_container();
  } else if (has_part_) {
    claim_part_stream(file_, places_, [this](const ByteClaim& claim) { map_->claim(claim); });
  }
  map_->settle();
  report_overlaps();
  if (findings_.verdict() == FileVerdict::sound) report_holes();
  findings_.explain(*map_, part_stream_, path_of);
}

void PartExamination::claim_container() {
  const bool by_record = has_part_ && !part_is_framed_;
  std::ranges::stable_sort(read_streams_, {}, &ReadStream::element);
  ContainerClaims claims(*map_,
                         {.kept = by_record ? part_element_ : std::nullopt,
                          .protection_of = [this](CFI::ElementId stream) { return protection_of(stream); }});
  attempt(file_, [&] { file_.container->lay_out(claims); });
  if (!by_record) return;
  claim_part_stream(file_, places_, [&](const ByteClaim& claim) { claims.claim_in_kept(claim); });
}

Protection PartExamination::protection_of(std::uint64_t stream) const {
  const auto known = std::ranges::lower_bound(read_streams_, stream, {}, &ReadStream::element);
  const bool was_read = known != read_streams_.end() && known->element == stream;
  return was_read ? known->protection : Protection::opaque;
}

void PartExamination::report_overlaps() {
  const auto path_of = [this](std::uint64_t stream) { return stream_path(stream); };
  for (const ByteOverlap& overlap : map_->overlaps()) {
    support::Place place;
    place.file_offset = overlap.offset;
    place.length = overlap.length;
    report(Rule::bytes_overlap, std::move(place),
           owner_text(overlap.first, path_of) + " and " + owner_text(overlap.second, path_of) +
               " claim the same bytes");
  }
  if (map_->overlap_count() > map_->overlaps().size()) {
    report(Rule::bytes_overlap, {},
           std::to_string(map_->overlap_count() - map_->overlaps().size()) + " further overlaps");
  }
}

/// Where every record has its place, what lies between them is filled with zeroes. Free sectors of compound
/// files hold what was there before, and older parts have directories without a known layout.
void PartExamination::report_holes() {
  const bool is_compound = file_.container != nullptr && file_.container->kind() == CFI::FileKind::microsoft;
  if (is_compound || !has_part_ || !file_.records.has_markers || part_is_framed_) return;
  std::size_t reported = 0;
  map_->visit_ranges([&](const ByteClaim& range) {
    if (reported == kReportedHoles || range.owner.kind != ByteOwner::Kind::none) return;
    if (fill_of(range) == std::uint8_t{0}) return;
    ++reported;
    support::Place place;
    place.file_offset = range.offset;
    place.length = range.length;
    report(Rule::bytes_hole, std::move(place));
  });
}

std::size_t PartExamination::read_bytes(std::uint64_t offset, std::span<unsigned char> bytes) {
  CFI::FileChannel* const file = channel();
  return file != nullptr ? file->read_apart_at(offset, bytes.data(), bytes.size()) : 0;
}

std::optional<std::uint8_t> PartExamination::fill_of(const ByteClaim& range) {
  std::vector<unsigned char> piece(static_cast<std::size_t>(std::min<std::uint64_t>(range.length, 65536)));
  std::optional<std::uint8_t> fill;
  for (std::uint64_t at = range.offset; at < range.end();) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), range.end() - at));
    const std::size_t count = read_bytes(at, std::span(piece).first(wanted));
    if (count == 0) return std::nullopt;
    if (!fill) fill = piece[0];
    if (std::ranges::any_of(std::span(piece).first(count),
                            [&](unsigned char byte) { return byte != *fill; })) {
      return std::nullopt;
    }
    at += count;
  }
  return fill;
}

}  // namespace inspect
