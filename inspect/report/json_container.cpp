#include <array>
#include <cstdio>

#include "inspect/report/json_parts.h"

namespace inspect {

using VRX::System::CFI::ClassId;
using VRX::System::CFI::CompoundFacts;
using VRX::System::CFI::ContainerFacts;
using VRX::System::CFI::IndexArea;
using VRX::System::CFI::IndexFacts;
using VRX::System::CFI::KvpmFacts;

namespace {

void write_index(JsonWriter& json, std::string_view name, const std::optional<IndexFacts>& index) {
  if (!index) return json.null_member(name);
  json.begin_object(name);
  json.member("offset", index->offset);
  json.member("length", index->length);
  json.member("elements", index->elements);
  if (index->xxh32_stored) {
    json.checksum_member("xxh32_stored", *index->xxh32_stored);
  } else {
    json.null_member("xxh32_stored");
  }
  if (index->xxh32_computed) {
    json.checksum_member("xxh32_computed", *index->xxh32_computed);
  } else {
    json.null_member("xxh32_computed");
  }
  json.member("matches", index->xxh32_stored ? std::optional<bool>(index->matches()) : std::nullopt);
  json.end_object();
}

void write_members(JsonWriter& json, const KvpmFacts& facts) {
  json.member("kind", "kvpm");
  json.member("format_version", facts.format_version);
  json.member("fast_load_end", facts.fast_load_end);
  json.member("footer_offset", facts.footer_offset);
  if (facts.part_header_copy) {
    json.begin_object("part_header_copy");
    json.member("offset", facts.part_header_copy->offset);
    json.member("length", facts.part_header_copy->length);
    json.end_object();
  } else {
    json.null_member("part_header_copy");
  }
  write_index(json, "header_index", facts.header_index);
  write_index(json, "footer_index", facts.footer_index);
}

void write_members(JsonWriter& json, const CompoundFacts& facts) {
  json.member("kind", "compound");
  json.member("version", facts.version);
  json.member("sector_size", facts.sector_size);
  json.member("fat_sectors", facts.fat_sectors);
  json.member("difat_sectors", facts.difat_sectors);
  json.member("mini_fat_sectors", facts.mini_fat_sectors);
  json.member("directory_entries", facts.directory_entries);
}

void write_members(JsonWriter& json, std::monostate) { json.null_member("kind"); }

void write_area(JsonWriter& json, const std::optional<IndexArea>& area) {
  if (!area) return json.null_member("index");
  json.member("index", *area == IndexArea::header ? "header" : "footer");
}

/// The 16 bytes in the order of the file.
void write_class_id(JsonWriter& json, const ClassId& id) {
  std::array<char, 33> digits = {};
  std::size_t at = 0;
  const auto append = [&](std::uint32_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i, at += 2) {
      std::snprintf(digits.data() + at, 3, "%02x", value >> 8 * i & 0xFFU);
    }
  };
  append(id.data1, 4);
  append(id.data2, 2);
  append(id.data3, 2);
  for (const std::uint8_t byte : id.data4) append(byte, 1);
  json.member("class_id", std::string_view(digits.data(), at));
}

}  // namespace

void write_container_members(JsonWriter& json, const ContainerFacts& facts) {
  std::visit([&](const auto& of) { write_members(json, of); }, facts);
}

void write_storage(JsonWriter& json, const StorageRow& storage) {
  json.begin_object();
  json.text_member("path", storage.path);
  write_area(json, storage.index);
  write_class_id(json, storage.class_id);
  json.end_object();
}

void write_stream(JsonWriter& json, const StreamRow& stream) {
  json.begin_object();
  json.text_member("path", stream.path);
  write_area(json, stream.index);
  json.begin_object("where");
  json.member("file_offset", stream.file_offset);
  json.member("length", stream.length);
  json.end_object();
  json.member("framed", stream.framed);
  if (stream.framed) json.member("expanded_length", stream.expanded_length);
  json.member("beyond_end_of_file", stream.beyond_end_of_file);
  json.end_object();
}

}  // namespace inspect
