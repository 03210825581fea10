#include <set>
#include <string>

#include "inspect/report/json_parts.h"

namespace inspect {

namespace {

constexpr int kBodyIdShift = 2;

void write_pair(JsonWriter& json, std::string_view name, std::uint64_t saved, std::uint64_t computed) {
  json.begin_object(name);
  json.checksum_member("saved", saved);
  json.checksum_member("computed", computed);
  json.member("matches", saved == computed);
  json.end_object();
}

void write_null_checks(JsonWriter& json) {
  json.null_member("expanded_length");
  json.null_member("adler32_expanded");
  json.null_member("adler32_stored");
}

void write_checks(JsonWriter& json, const CheckedBlock& block) {
  json.begin_object("expanded_length");
  json.member("saved", block.saved_size);
  json.member("computed", block.found_size);
  json.end_object();
  write_pair(json, "adler32_expanded", block.saved_expanded_checksum, block.found_expanded_checksum);
  write_pair(json, "adler32_stored", block.saved_stored_checksum, block.found_stored_checksum);
  if (block.inflate_error != 0) json.member("zlib_status", block.inflate_error);
}

/// The "KEY=value" of a header text, each key once.
void write_keywords(JsonWriter& json, std::string_view text) {
  json.begin_object("header_keywords");
  std::set<std::string> seen;
  text = text.substr(0, text.find('\0'));
  while (!text.empty()) {
    std::string_view field = text.substr(0, text.find(';'));
    text.remove_prefix(std::min(text.size(), field.size() + 1));
    const std::size_t line_end = field.find_last_of("\r\n");
    if (line_end != std::string_view::npos) field.remove_prefix(line_end + 1);
    const std::size_t equals = field.find('=');
    if (equals == std::string_view::npos || equals == 0) continue;
    const std::string name = utf8_text(field.substr(0, equals));
    if (seen.insert(name).second) json.text_member(name, field.substr(equals + 1));
  }
  json.end_object();
}

void write_extension(JsonWriter& json, const BrepsolidHeaderBits& bits) {
  if (!bits.has_extension) return json.null_member("extension");
  json.begin_object("extension");
  json.member("version", bits.ext_version);
  json.member("body_tag", bits.body_tag);
  json.member("wide_sizes", bits.wide_sizes);
  json.member("linked_partition",
              bits.linked_partition_id != 0 ? std::optional(bits.linked_partition_id) : std::nullopt);
  json.member("reference_target",
              bits.reference_target != 0 ? std::optional(bits.reference_target) : std::nullopt);
  json.member("skip_count", bits.skip_count);
  json.member("list_count", bits.list_count);
  json.end_object();
}

void write_reference(JsonWriter& json, std::uint32_t flags) {
  if ((flags & kReferenceFlag) == 0) return json.null_member("reference");
  json.member("reference", (flags & kPseudoReferenceFlag) != 0 ? "pseudo reference" : "reference");
}

std::optional<std::string_view> text_or_none(std::string_view text) {
  return text.empty() ? std::nullopt : std::optional(text);
}

void write_second_block(JsonWriter& json, const SolidSection& section) {
  const std::uint64_t length = section.partition.solid->bits.second_size;
  if (length == 0) return;
  json.begin_object("second_block");
  json.member("stored_length", length);
  if (section.blocks.size() > 1) {
    write_checks(json, section.blocks.back());
  } else {
    write_null_checks(json);
  }
  json.end_object();
}

std::string_view marker_state(const PartitionEntry& partition) { return partition.bad ? "missing" : "sound"; }

}  // namespace

void write_partition_members(JsonWriter& json, const PartitionRow& row) {
  const PartitionEntry& partition = row.partition;
  json.member("id", partition.id);
  json.member("number", partition.number + 1);
  json.member("type", partition.type);
  json.member("type_name", partition_type_name(partition.type));
  json.member("data", partition.data);
  json.member("empty", partition.data_zero);
  json.begin_object("where");
  json.member("file_offset", row.file_offset(partition.offset));
  json.member("length", row.length);
  if (!row.stream.empty()) json.text_member("stream", row.stream);
  json.member("stream_offset", partition.offset);
  json.end_object();
  json.member("marker", row.has_marker ? std::optional(marker_state(partition)) : std::nullopt);
  if (row.checksum == nullptr || !row.checksum->stored) return;
  write_pair(json, "adler32", *row.checksum->stored, row.checksum->computed);
}

void write_data_place(JsonWriter& json, const PartitionRow& row, std::uint64_t stream_offset,
                      std::optional<std::uint64_t> length) {
  json.begin_object("where");
  json.member("file_offset", row.file_offset(stream_offset));
  if (length) json.member("length", length);
  json.member("stream_offset", stream_offset);
  json.end_object();
}

void write_solid_members(JsonWriter& json, const SolidSection& section, bool with_text) {
  const BrepsolidPartition& solid = *section.partition.solid;
  json.text_or_null("brepsolid_version", section.kernel_version);
  json.member("file_format", text_or_none(section.extract.format));
  if (is_in_set(section.partition.type, kModellerSet)) {
    json.member("body_id", section.partition.data >> kBodyIdShift);
  }
  write_keywords(json, with_text ? section.header_text : std::string_view());
  if (!with_text) {
    json.member("header_text_left_out", true);
  } else if (solid.header_saved_here) {
    json.text_member("header_text", section.header_text);
  } else {
    json.null_member("header_text");
  }
  json.member("header_text_length", section.header_text.size());
  json.member("header_borrowed", !solid.header_saved_here);
  write_extension(json, solid.bits);
  write_reference(json, solid.flags);
  json.member("compressed", solid.bits.compressed);
  json.member("stored_length", solid.bits.rest_size);
  if (section.blocks.empty()) {
    write_null_checks(json);
  } else {
    write_checks(json, section.blocks.front());
  }
  write_second_block(json, section);
  json.begin_object("extract");
  json.member("possible", section.extract.possible);
  json.member("sound", section.extract.sound);
  json.member("suffix", text_or_none(section.extract.suffix));
  json.end_object();
}

}  // namespace inspect
