#include <algorithm>
#include <map>

#include "cfi/expanded_source.h"
#include "cfi/lz4_decompress_stream.h"
#include "cfi/storage_file.h"
#include "cfi/stream_names.h"
#include "inspect/part_examination.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/records/named_streams.h"
#include "inspect/sections/compatibility.h"
#include "inspect/sections/element_walk.h"
#include "inspect/sections/filing_history.h"
#include "inspect/sections/jt_bodies.h"
#include "inspect/sections/jt_body_starts.h"
#include "inspect/sections/machine_name.h"
#include "inspect/sections/partition_listing.h"
#include "inspect/sections/referenced_names.h"
#include "inspect/solid/brepsolid_header.h"
#include "inspect/solid/header_keywords.h"
#include "inspect/solid/plain_data.h"
#include "inspect/solid/transmit_names.h"
#include "support/limits.h"
#include "support/printable.h"

// What is known of a part, section by section.

namespace inspect {

namespace CFI = VRX::System::CFI;

void PartExamination::write_sections(PartDocument& document) {
  write_container(document);
  write_streams(document);
  if (!has_part_) return;
  write_header(document);
  write_compatibility(document);
  write_history(document);
  write_partitions(document);
  write_jt(document);
  write_toggles(document);
  write_references(document);
}

void PartExamination::write_container(PartDocument& document) {
  if (!container_facts_) return;
  document.begin_container(*container_facts_, fast_load_facts());
  if (CFI::StorageFile* container = file_.container) {
    const bool has_areas = container->kind() == CFI::FileKind::kvpm;
    const auto row = [&](CFI::ElementId element, std::string_view path, CFI::IndexArea area) {
      document.take_storage(
          {path, has_areas ? std::optional(area) : std::nullopt, container->record(element).class_id});
    };
    row(CFI::kRootElement, "", CFI::IndexArea::header);
    visit_elements(*container,
                   [&](CFI::ElementId element, const CFI::ElementNode& node, std::string_view path) {
                     if (node.type == CFI::ElementType::storage) row(element, path, node.area);
                   });
  }
  document.end_container();
}

FastLoadFacts PartExamination::fast_load_facts() const {
  constexpr std::size_t kVersionUnit = 225;  // of the header copy
  const CFI::StorageFile* container = file_.container;
  if (container == nullptr || container->kind() != CFI::FileKind::kvpm) return {};
  return {container->part_header_unit(kVersionUnit), container->fast_load_end()};
}

void PartExamination::write_streams(PartDocument& document) {
  if (file_.container == nullptr) return;
  document.begin_streams();
  visit_elements(*file_.container,
                 [&](CFI::ElementId element, const CFI::ElementNode& node, const std::string& path) {
                   if (node.type == CFI::ElementType::stream) document.take_stream(stream_row(element, path));
                 });
  document.end_streams();
}

StreamRow PartExamination::stream_row(CFI::ElementId element, const std::string& path) {
  CFI::StorageFile& container = *file_.container;
  const CFI::ElementNode node = container.node(element);
  StreamRow row;
  row.path = path;
  row.length = node.size;
  std::array<unsigned char, CFI::LZ4DecompressStream::kSignature.size()> head = {};
  if (container.kind() == CFI::FileKind::kvpm) {
    row.index = node.area;
    row.file_offset = node.start_offset;
    row.beyond_end_of_file = node.start_offset > *facts_.size || node.size > *facts_.size - node.start_offset;
  } else {
    attempt(file_, [&] {
      const auto source = container.open_stream(element);
      row.file_offset = source->file_offset(0);
      row.beyond_end_of_file = source->size() < node.size;
    });
  }
  if (row.file_offset && row.length >= 2 * head.size() && read_bytes(*row.file_offset, head) == head.size()) {
    row.framed = head == CFI::LZ4DecompressStream::kSignature;
  }
  if (row.framed) expand_framed(row, element);
  return row;
}

/// Looks whether a framed stream expands whole; of streams that share their bytes only as many as the file
/// can hold.
void PartExamination::expand_framed(StreamRow& row, CFI::ElementId element) {
  if (part_frame_failed_ && element == part_element_) return;
  framed_bytes_ += row.length;
  if (framed_bytes_ > limits::kReadsOfAllBytes * *facts_.size) return;
  attempt(file_, [&] {
    CFI::ExpandedSource expanded(file_.container->open_stream(element), std::string(row.path));
    row.expanded_length = expanded.size();
    if (expanded.ends_at_bad_block()) report_bad_block(row);
    read_streams_.push_back({element, Protection::decoded});
  });
}

/// Readers take it for the end of the stream.
void PartExamination::report_bad_block(const StreamRow& row) {
  support::Place place;
  place.stream = row.path;
  place.file_offset = row.file_offset;
  place.length = row.length;
  report(Rule::container_framing, std::move(place),
         "compressed stream " + support::printable(row.path) + " ends at a block that does not expand");
}

void PartExamination::write_header(PartDocument& document) {
  if (file_.records.header.word_count == 0) return;
  const PartModuleReferences modules = find_part_modules(file_);
  const std::string machine_name = is_v10(file_.records) ? find_machine_name(file_) : std::string();
  document.take_header({.part = file_.records,
                        .machine_name = machine_name,
                        .solid_offset = find_solid_offset(file_.records),
                        .modules = modules,
                        .retrieval = retrieval_of(file_.records)});
}

std::unique_ptr<support::ByteSource> PartExamination::open_named(std::string_view name) {
  std::unique_ptr<support::ByteSource> source;
  attempt(file_, [&] {
    if (file_.container == nullptr) return;
    const auto element = CFI::find_stream_by_name(*file_.container, name);
    if (!element) return;
    source = open_named_stream(file_, name);
    read_streams_.push_back({*element, Protection::decoded});
  });
  return source;
}

void PartExamination::write_compatibility(PartDocument& document) {
  const auto source = open_named(stream_names::kCompatibility);
  if (!source) return document.json().null_member("compatibility");
  document.begin_compatibility();
  attempt(file_, [&] { read_compatibility(*source, document); });
  document.end_compatibility();
}

void PartExamination::write_history(PartDocument& document) {
  document.begin_filing_history();
  if (is_v10(file_.records)) read_filing_history(file_, document);
  document.end_filing_history();
}

void PartExamination::write_partitions(PartDocument& document) {
  document.begin_partitions(file_.records);
  for (PartitionEntry& partition : file_.records.partitions) write_partition(document, partition);
  document.end_partitions();
}

const ObjectManagerChecksum* PartExamination::checksum_of(const PartitionEntry& partition) const {
  const auto& all = file_.records.om_checksums;
  const auto found =
      std::ranges::lower_bound(all, partition.number, {}, &ObjectManagerChecksum::partition_number);
  return found != all.end() && found->partition_number == partition.number ? &*found : nullptr;
}

void PartExamination::write_partition(PartDocument& document, PartitionEntry& partition) {
  const PartitionRow row = {
      .partition = partition,
      .has_marker = file_.records.has_markers,
      .stream = part_stream_,
      .file_offset = [this](std::uint64_t offset) { return file_.stream->file_offset(offset); },
      .length = partition_length(partition, places_),
      .checksum = checksum_of(partition)};
  document.begin_partition_row(row);
  file_.reader.set_partition(partition.id);
  attempt(file_, [&] {
    const std::uint32_t first = places_.first_with_data_of(partition.number);
    if (partition.solid != nullptr) {
      write_solid(document, partition);
    } else if (first != partition.number) {
      document.take_same_data(file_.records.partitions[first]);
    } else if (!partition.bad && !is_modeller_type(partition.type)) {
      read_listed_partition(file_, partition, {.cookies = true, .chains = true}, document);
    }
  });
  file_.reader.set_partition(std::nullopt);
  partition.shared_strings.clear();
  document.end_partition_row();
}

void PartExamination::write_solid(PartDocument& document, const PartitionEntry& partition) {
  const BrepsolidPartition& solid = *partition.solid;
  const std::string text = read_header_text(file_, solid);
  const auto blocks = places_.blocks_of(partition.number);
  const bool is_reference = (solid.flags & kReferenceFlag) != 0;
  const bool sound = std::ranges::all_of(blocks, &CheckedBlock::is_sound);
  SolidSection section = {partition, text, kernel_version_of(text), blocks, {}};
  if (section.kernel_version == "Unknown") section.kernel_version.clear();
  section.extract.possible = !partition.truncated && !partition.data_zero && !is_reference;
  if (section.extract.possible && (!blocks.empty() || !solid.bits.compressed)) section.extract.sound = sound;
  if (const auto format = known_transmit_format(partition.type, transmit_format_of(text))) {
    section.extract.format = format->binary ? "binary" : "text";
    section.extract.suffix = format->main_extension;
  }
  document.take_solid(section);
  if (!solid.bits.compressed) check_plain_data(file_, partition);
}

void PartExamination::write_jt(PartDocument& document) {
  document.begin_jt_streams();
  for (const char* name : {stream_names::kJt, stream_names::kDisplayJt}) write_jt_stream(document, name);
  document.end_jt_streams();
}

void PartExamination::write_jt_stream(PartDocument& document, const char* name) {
  const auto source = open_named(name);
  if (!source) return;
  JtStreamPlace place;
  const std::string path = stream_path(read_streams_.back().element);
  place.path = path;
  place.file_offset = [&](std::uint64_t offset) { return source->file_offset(offset); };
  try {
    place.size = source->size();
  } catch (const support::ErrorEscape&) {
    place.size.reset();  // the reading reports it
  }
  document.begin_jt_stream(place);
  attempt(file_, [&] { read_jt_bodies(file_, *source, name, document); });
  document.end_jt_stream();
  attempt(file_, [&] { check_jt_body_starts(file_, *source, name, path); });
}

/// Of a stream that is as long as what its checksum covers, every byte is verified.
void PartExamination::take_toggle_checksums(const support::ByteSource& source,
                                            const std::optional<cfi_tools::ToggleChecksums>& checksums) {
  const bool matches = checksums && checksums->computed == checksums->stored;
  if (checksums && !matches) {
    support::Finding finding;
    finding.rule = Rule::toggles_checksum;
    finding.place.stream = std::string(stream_names::kPartStorage) + '/' + stream_names::kFeatureToggles;
    finding.place.file_offset = source.file_offset(0);
    finding.place.length = source.size();
    finding.found.push_back({"xxh32", std::uint64_t{checksums->computed}});
    finding.expected.push_back({"xxh32", std::uint64_t{checksums->stored}});
    report_finding(file_, std::move(finding), "the checksum of the feature toggles does not match");
  }
  const bool covered = source.file_offset(0).has_value() && source.position() == source.size();
  const Protection protection = !covered  ? Protection::decoded
                                : matches ? Protection::verified
                                          : Protection::failed;
  note_child_stream(stream_names::kPartStorage, stream_names::kFeatureToggles, protection);
}

void PartExamination::note_child_stream(std::string_view storage, std::string_view name,
                                        Protection protection) {
  const auto parent = file_.container->find_child(CFI::kRootElement, storage);
  const auto stream = parent ? file_.container->find_child(*parent, name) : std::nullopt;
  if (stream) read_streams_.push_back({*stream, protection});
}

void PartExamination::write_toggles(PartDocument& document) {
  std::unique_ptr<support::ByteSource> source;
  attempt(file_, [&] {
    source = open_child_stream(file_, stream_names::kPartStorage, stream_names::kFeatureToggles);
  });
  if (!source) return document.json().null_member("feature_toggles");
  document.begin_toggles();
  std::optional<cfi_tools::ToggleChecksums> checksums;
  attempt(file_, [&] { checksums = cfi_tools::read_feature_toggles(*source, document); });
  document.end_toggles(checksums);
  take_toggle_checksums(*source, checksums);
}

void PartExamination::write_references(PartDocument& document) {
  document.begin_named_references();
  for (const char* storage : {stream_names::kPartStorage, stream_names::kFastLoadStorage}) {
    attempt(file_, [&] {
      const auto source = open_child_stream(file_, storage, stream_names::kExternalReferences);
      if (!source) return;
      const std::string path = std::string(storage) + '/' + stream_names::kExternalReferences;
      note_child_stream(storage, stream_names::kExternalReferences, Protection::decoded);
      visit_referenced_names(*source, [&](const ReferencedName& name) {
        document.take_reference_count(name, path, source->file_offset(name.first_offset));
      });
    });
  }
  document.end_named_references();
}

}  // namespace inspect
