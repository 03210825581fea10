#include "inspect/sections/part_summary.h"

#include <algorithm>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/named_streams.h"
#include "inspect/sections/compatibility.h"
#include "inspect/sections/external_references.h"
#include "inspect/sections/filing_history.h"
#include "inspect/sections/jt_bodies.h"
#include "inspect/sections/machine_name.h"
#include "inspect/sections/release.h"
#include "inspect/sections/section_sink.h"

namespace inspect {

namespace {

void read_histories(InspectFile& file, const SummaryRequest& request, SectionSink& sink) {
  sink.take_old_history({OldHistory::Kind::before_v10, file.records.header.first_history});
  if (is_v10(file.records) && request.filing_history) {
    sink.begin_filing_history();
    read_filing_history(file, sink);
  }
  sink.take_old_history({OldHistory::Kind::outside, file.records.header.second_history});
}

void report_bad_format(const InspectFile& file) {
  const std::int32_t format = file.records.header.format_word;
  if (is_v10(file.records) || format == 1 || format == 2) return;
  support::Finding finding;
  finding.rule = support::Rule::header_format;
  finding.manner = support::Manner::result;
  report_finding(file, std::move(finding), "the header names format %d, which does not exist", format);
}

void read_properties(const InspectFile& file, SectionSink& sink) {
  report_bad_format(file);
  sink.take_summary_properties({file.records, find_solid_offset(file.records)});
}

void read_part_modules(InspectFile& file, SectionSink& sink) {
  const PartModuleReferences modules = find_part_modules(file);
  const PartHeader& header = file.records.header;
  sink.take_part_modules(
      {modules.main_parts, modules.linked_parts, header.part_module, header.intrapart_module});
}

void read_streams(InspectFile& file, const SummaryRequest& request, SectionSink& sink) {
  visit_named_stream(file, stream_names::kCompatibility,
                     [&](auto& source) { read_compatibility(source, sink); });
  visit_named_stream(file, stream_names::kJt,
                     [&](auto& source) { read_jt_bodies(file, source, stream_names::kJt, sink); });
  if (!request.display_jt) return;
  visit_named_stream(file, stream_names::kDisplayJt,
                     [&](auto& source) { read_jt_bodies(file, source, stream_names::kDisplayJt, sink); });
}

void report_retrieval(const InspectFile& file) {
  if (retrieval_of(file.records) == Retrieval::possible) return;
  support::Finding finding;
  finding.rule = support::Rule::header_not_retrievable;
  finding.manner = support::Manner::result;
  report_finding(file, std::move(finding), "current releases cannot retrieve a part of this format");
}

}  // namespace

Retrieval retrieval_of(const PartRecords& part) {
  if (part.header.pre_v10_layout) return Retrieval::pre_v10_layout;
  if (part.header.old_concept_data) return Retrieval::old_concept_data;
  return part.version == kFirstV10 ? Retrieval::obsolete_v10 : Retrieval::possible;
}

PartModuleReferences find_part_modules(InspectFile& file) {
  PartModuleReferences modules;
  attempt(file, [&] {
    if (const auto source =
            open_child_stream(file, stream_names::kPartStorage, stream_names::kExternalReferences)) {
      modules = find_part_modules(*source);
    }
  });
  return modules;
}

std::optional<std::uint64_t> find_solid_offset(const PartRecords& part) {
  const auto solid = std::ranges::find(part.partitions, kOldBrepsolid, &PartitionEntry::type);
  return solid != part.partitions.end() ? std::optional(solid->base) : std::nullopt;
}

void report_header_oddities(const InspectFile& file) {
  report_bad_format(file);
  report_retrieval(file);
}

void read_part_summary(InspectFile& file, const SummaryRequest& request, SectionSink& sink) {
  const PartRecords& part = file.records;
  sink.begin_summary(part);
  read_release(file, sink);
  sink.take_summary_opening(part);
  read_histories(file, request, sink);
  read_properties(file, sink);
  if (is_v10(part)) read_part_modules(file, sink);
  sink.take_summary_details({part, is_v10(part) ? find_machine_name(file) : std::string()});
  read_streams(file, request, sink);
  sink.take_directories(part);
  report_retrieval(file);
  sink.take_retrieval(retrieval_of(part));
}

}  // namespace inspect
