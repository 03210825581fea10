#include "inspect/report/part_document.h"

#include "inspect/report/json_parts.h"
#include "support/limits.h"

namespace inspect {

void PartDocument::set_file_size(std::uint64_t bytes) {
  rows_ = RowBudget(limits::kDocumentRows + bytes);
  bodies_ = RowBudget(limits::kJtBodies + bytes / limits::kBytesOfJtBody);
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

void PartDocument::begin_container(const VRX::System::CFI::ContainerFacts& facts) {
  json_.begin_object("container");
  write_container_members(json_, facts);
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

void PartDocument::begin_partitions(const PartRecords& part) {
  json_.member("next_partition_id", part.next_partition_id);
  json_.begin_array("partitions");
}

void PartDocument::begin_partition_row(const PartitionRow& row) {
  json_.begin_object();
  write_partition_members(json_, row);
}

void PartDocument::take_om_identity(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  json_.begin_object("object_manager");
  om_open_ = true;
  write_om_identity(json_, partition, om);
}

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
  json_.key("solid");
  write_solid(json_, solid);
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

void PartDocument::take_reference_count(const ReferencedName& name, std::string_view stream) {
  if (!takes_row()) return;
  json_.begin_object();
  json_.text_member("name", name.text);
  json_.text_member("stream", stream);
  json_.member("times", name.times);
  json_.member("names_part", name.names_part);
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
