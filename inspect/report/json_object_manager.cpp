#include <array>
#include <cstdio>
#include <string>

#include "inspect/records/object_manager_label.h"
#include "inspect/report/audit_trail_lines.h"
#include "inspect/report/json_parts.h"
#include "inspect/report/object_manager_listing.h"

namespace inspect {

namespace {

constexpr std::int32_t kChainBlockSize = 512;

/// A text of the partition; null for none, and a mark beside one of which only the beginning stands here.
void write_text(JsonWriter& json, std::string_view name, ShownTexts& texts, TextId id) {
  if (id == kNoText) return json.null_member(name);
  const ShownTexts::Shown shown = texts.take(id);
  json.text_member(name, shown.text);
  if (shown.cut) json.member(std::string(name) + "_cut", true);
}

void end_list(JsonWriter& json, std::string_view member, std::uint64_t left_out) {
  json.end_array();
  if (left_out != 0) json.member(member, left_out);
}

void write_time(JsonWriter& json, std::string_view name, std::int32_t seconds) {
  if (seconds == 0) return json.null_member(name);
  json.time_member(name, seconds);
}

void write_save_members(JsonWriter& json, ShownTexts& texts, const AuditEntry& entry) {
  write_time(json, "saved_at", entry.save_time);
  write_text(json, "user", texts, entry.user_name);
  json.member("part_version", entry.version_number);
  json.member("machine_type", entry.machine_type);
}

void write_class(JsonWriter& json, std::size_t index, const OmClass& of, bool has_digest, ShownTexts& texts) {
  json.begin_object();
  json.member("index", index);
  write_text(json, "name", texts, of.name);
  write_text(json, "schema", texts, of.schema_name);
  json.member("version", of.schema_version);
  if (of.superclass == kNullIndex || of.superclass == kOtherNullIndex) {
    json.null_member("superclass");
  } else {
    json.member("superclass", of.superclass);
  }
  json.member("sub_file", of.sub_file_id);
  if (has_digest) {
    std::array<char, 9> digest = {};
    std::snprintf(digest.data(), digest.size(), "%08x", static_cast<unsigned>(of.digest));
    json.member("digest", std::string_view(digest.data()));
    json.member("digest_extra", of.second_word);
  }
  json.end_object();
}

}  // namespace

void write_om_identity(JsonWriter& json, const PartitionEntry& partition, const ObjectManagerPartition& om) {
  json.time_member("saved_at", om.save_time);
  json.text_member("machine_name", om.machine_name);
  json.text_member("file_name_when_saved", om.file_name);
  json.member("version", om.version);
  std::string_view note = om_version_text(om.version);
  if (note.size() > 2) note = note.substr(1, note.size() - 2);
  json.member("version_note", note);
  json.member("number_encoding", partition.encoding == Encoding::compact ? "compact" : "plain");
  json.member("wide_offsets", partition.wide_positions);
  json.member("carries_checksum", om.has_checksum);
  json.member("objects", om.object_count);
}

void write_om_counts(JsonWriter& json, const ObjectManagerPartition& om) {
  json.member("saving_object_label", om.saving_object_label);
  json.member("root_object_label", om.root_object_label);
  json.member("external_references", om.external_references);
  json.member("external_root_object_groups", om.external_root_groups);
  json.member("inter_part_references", om.external_file_ids);
}

void write_om_classes(JsonWriter& json, const PartitionEntry& partition, const ObjectManagerPartition& om,
                      RowBudget& rows) {
  ShownTexts texts(partition, om);
  if (om.version >= kLastOmVersion) {
    json.begin_array("schemas");
    std::size_t i = 0;
    for (; i < om.schemas.size() && rows.take(); ++i) {
      json.begin_object();
      json.member("index", i);
      write_text(json, "name", texts, om.schemas[i].name);
      json.member("version", om.schemas[i].version);
      json.end_object();
    }
    end_list(json, "schemas_left_out", om.schemas.size() - i);
  }
  json.begin_array("classes");
  std::size_t i = 0;
  for (; i < om.classes.size() && rows.take(); ++i) {
    write_class(json, i, om.classes[i], om.version >= kLastOmVersion, texts);
  }
  end_list(json, "classes_left_out", om.classes.size() - i);
}

void write_om_root(JsonWriter& json, const PartitionEntry& partition, const ObjectManagerPartition& om) {
  if (!om.has_root()) return json.null_member("root_object");
  json.member("shared_strings", partition.shared_strings.size());
  json.begin_object("root_object");
  json.member("index", om.root_object);
  json.text_member("name", om.root_name);
  json.end_object();
}

void write_audit_trail(JsonWriter& json, const PartitionEntry& partition, const ObjectManagerPartition& om,
                       RowBudget& rows) {
  ShownTexts texts(partition, om);
  const AuditTrail& audit = om.audit;
  std::size_t objects = 0;
  json.begin_array("audit_trail");
  for (; objects < audit.objects.size() && rows.take(); ++objects) {
    const AuditObject& object = audit.objects[objects];
    const std::size_t end = std::size_t{object.first_entry} + object.entry_count;
    std::size_t i = object.first_entry;
    json.begin_object();
    write_text(json, "program_version", texts, object.program_version);
    json.begin_array("saves");
    for (; i < end && rows.take(); ++i) {
      json.begin_object();
      write_save_members(json, texts, audit.entries[i]);
      if (i < audit.cookies.size()) {
        json.member("magic_cookie", audit.cookies[i].magic_cookie);
        json.member("maximum_object_id", audit.cookies[i].maximum_object_id);
      }
      json.end_object();
    }
    end_list(json, "saves_left_out", end - i);
    json.end_object();
  }
  end_list(json, "audit_trail_left_out", audit.objects.size() - objects);
  json.member("pseudo_entries", audit.pseudo_entries);
}

void write_entity_chains(JsonWriter& json, const EntityTypeChains& heads, Encoding encoding) {
  json.begin_array("entity_type_chains");
  for (std::size_t type = 0; type < heads.size(); ++type) {
    const std::int32_t head = heads[type];
    if (head == kNullIndex || head == kOtherNullIndex) continue;
    json.begin_object();
    json.member("type", type);
    if (encoding == Encoding::compact && head == kSomeObject) {
      json.null_member("head");
    } else {
      json.member("head", head);
    }
    json.end_object();
  }
  json.end_array();
}

void write_old_entity_chains(JsonWriter& json, std::span<const std::int16_t> words) {
  json.begin_array("entity_type_chains");
  for (std::size_t type = 1; type < words.size(); ++type) {
    const std::int32_t block = static_cast<std::uint16_t>(words[type]);
    if (block == 0) continue;
    json.begin_object();
    json.member("type", type);
    json.member("stream_offset", block * kChainBlockSize);
    json.end_object();
  }
  json.end_array();
}

std::uint64_t write_saves(JsonWriter& json, const FilingHistory& history, RowBudget& rows) {
  ShownTexts texts(history.partition, history.om);
  std::uint64_t left_out = 0;
  history.saves.visit([&](const AuditObject& object, const AuditEntry& entry) {
    if (!rows.take()) {
      ++left_out;
      return;
    }
    json.begin_object();
    write_save_members(json, texts, entry);
    write_text(json, "program_version", texts, object.program_version);
    json.member("partition", history.partition.id);
    json.end_object();
  });
  return left_out;
}

}  // namespace inspect
