#include "inspect/report/part_document.h"

#include "inspect/report/json_parts.h"
#include "support/limits.h"

namespace inspect {

void PartDocument::set_file_size(std::uint64_t bytes) {
  rows_ = RowBudget(limits::kDocumentRows + bytes);
  bodies_ = RowBudget(limits::kJtBodies + bytes / limits::kBytesOfJtBody);
  text_bytes_ = limits::kDocumentTexts + limits::kReadsOfAllBytes * bytes;
}

bool PartDocument::takes_row() {
  if (rows_.take()) return true;
  ++left_out_;
  return false;
}

void PartDocument::end_list(std::string_view member) {
  json_.end_array();
  if (left_out_ != 0) json_.member(member, left_out_);
  left_out_ = 0;
}

void PartDocument::toggle(std::string_view text) {
  if (takes_row()) json_.value(text);
}

void PartDocument::take_byte_counts(const cfi_tools::ByteCounts& counts) {
  json_.begin_object("byte_counts");
  json_.member("cr", counts.carriage_returns);
  json_.member("lf", counts.line_feeds);
  json_.member("crlf", counts.crlf_pairs);
  json_.member("lfcr", counts.lfcr_pairs);
  json_.member("zeroes", counts.zeroes);
  json_.end_object();
}

void PartDocument::begin_container(const VRX::System::CFI::ContainerFacts& facts,
                                   const FastLoadFacts& fast_load) {
  json_.begin_object("container");
  write_container_members(json_, facts);
  if (fast_load.end) {
    json_.member("fast_load_partition_version", fast_load.version);
    json_.member("fast_load_partition_end", fast_load.end);
  }
  json_.begin_array("storages");
}

void PartDocument::write_row(const StorageRow& storage) { write_storage(json_, storage); }

void PartDocument::end_container() {
  json_.end_array();
  json_.end_object();
}

void PartDocument::begin_streams() { json_.begin_array("streams"); }

void PartDocument::take_stream(const StreamRow& stream) { write_stream(json_, stream); }

void PartDocument::take_header(const HeaderSection& header) {
  json_.key("header");
  write_header(json_, header);
}

void PartDocument::begin_compatibility() {
  json_.begin_object("compatibility");
  json_.begin_array("lines");
}

void PartDocument::take_compatibility_line(const CompatibilityLine& line) {
  if (line.first) {
    earliest_release_ = line.text;
  } else if (takes_row()) {
    json_.value(line.text);
  }
}

void PartDocument::end_compatibility() {
  end_list("lines_left_out");
  json_.text_or_null("earliest_release", earliest_release_.value_or(""));
  json_.end_object();
}

void PartDocument::take_filing_history(const FilingHistory& history) {
  left_out_ += write_saves(json_, history, rows_);
}

void PartDocument::take_unreadable_history(const UnreadableHistory& history) {
  unreadable_partition_ = history.partition.id;
  unreadable_history_ = history.reason;
}

void PartDocument::end_filing_history() {
  end_list("filing_history_left_out");
  if (unreadable_history_.empty()) return;
  json_.begin_object("unreadable_filing_history");
  json_.member("partition", unreadable_partition_);
  json_.text_member("reason", unreadable_history_);
  json_.end_object();
}

void PartDocument::begin_partitions(const PartRecords& part) {
  json_.member("next_partition_id", part.next_partition_id);
  json_.member("non_empty_directories",
               static_cast<std::int64_t>(part.partitions.size()) - part.empty_directories);
  json_.begin_array("partitions");
}

void PartDocument::begin_partition_row(const PartitionRow& row) {
  row_ = &row;
  json_.begin_object();
  write_partition_members(json_, row);
}

void PartDocument::take_om_identity(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  json_.begin_object("object_manager");
  om_open_ = true;
  write_data_place(json_, *row_, om_start_.start, om_start_.length);
  write_om_identity(json_, partition, om);
}

/// Parts of old have partitions in other formats.
void PartDocument::take_not_om(const PartitionEntry&) { json_.member("in_om_format", false); }

void PartDocument::take_om_counts(const PartitionEntry&, const ObjectManagerPartition& om) {
  write_om_counts(json_, om);
}

void PartDocument::take_om_classes(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  write_om_classes(json_, partition, om, rows_);
}

void PartDocument::take_om_root(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  write_om_root(json_, partition, om);
}

void PartDocument::take_audit_trail(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  write_audit_trail(json_, partition, om, rows_);
}

void PartDocument::take_entity_chains(const EntityChains& chains) {
  write_entity_chains(json_, chains.heads, chains.encoding);
}

void PartDocument::take_old_entity_chains(std::span<const std::int16_t> words) {
  write_old_entity_chains(json_, words);
}

void PartDocument::take_solid(const SolidSection& solid) {
  const bool told = solid.header_text.size() <= text_bytes_;
  if (told) text_bytes_ -= solid.header_text.size();
  json_.begin_object("solid");
  write_data_place(json_, *row_, solid.partition.base, std::nullopt);
  write_solid_members(json_, solid, told);
  json_.end_object();
}

void PartDocument::end_partition_row() {
  if (om_open_) json_.end_object();
  om_open_ = false;
  json_.end_object();
}

void PartDocument::begin_jt_stream(const JtStreamPlace& place) { jt_ = &place; }

void PartDocument::begin_jt(const JtHead& head) {
  json_.begin_object(head.stream_name);
  json_.text_member("stream", jt_->path);
  json_.member("version", head.version);
  json_.member("body_partition_objects", head.body_partition_count);
  json_.member("body_count", head.body_count);
  json_.begin_array("bodies");
  jt_open_ = true;
}

void PartDocument::take_jt_body(const JtBody& body) {
  write_held_body(body.offset);
  held_body_ = body;
}

void PartDocument::write_held_body(std::optional<std::uint64_t> end) {
  if (!held_body_) return;
  if (!bodies_.take()) {
    ++left_out_;
    return held_body_.reset();
  }
  const JtBody& body = *held_body_;
  json_.begin_object();
  json_.member("id", body.id);
  json_.member("stream_offset", body.offset);
  json_.member("length", end && *end >= body.offset ? std::optional(*end - body.offset) : std::nullopt);
  json_.member("file_offset", jt_->file_offset(body.offset));
  json_.end_object();
  held_body_.reset();
}

void PartDocument::end_jt_stream() {
  if (!jt_open_) return;
  write_held_body(jt_->size);
  end_list("bodies_left_out");
  json_.end_object();
  jt_open_ = false;
}

void PartDocument::take_reference_count(const ReferencedName& name, std::string_view stream,
                                        std::optional<std::uint64_t> file_offset) {
  if (!takes_row()) return;
  json_.begin_object();
  json_.text_member("name", name.text);
  json_.text_member("stream", stream);
  json_.member("times", name.times);
  json_.member("names_part", name.names_part);
  json_.begin_object("where");
  json_.member("file_offset", file_offset);
  json_.member("stream_offset", name.first_offset);
  json_.end_object();
  json_.member("last_stream_offset", name.last_offset);
  json_.end_object();
}

void PartDocument::end_toggles(const std::optional<cfi_tools::ToggleChecksums>& checksums) {
  end_list("feature_toggles_left_out");
  json_.member("feature_toggle_format", toggle_format_);
  if (!checksums) return json_.null_member("feature_toggle_checksum");
  json_.begin_object("feature_toggle_checksum");
  json_.checksum_member("stored", checksums->stored);
  json_.checksum_member("computed", checksums->computed);
  json_.member("matches", checksums->stored == checksums->computed);
  json_.end_object();
}

}  // namespace inspect
