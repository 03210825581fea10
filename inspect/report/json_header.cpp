#include <algorithm>
#include <cctype>
#include <string>

#include "inspect/report/json_parts.h"
#include "inspect/report/summary_tables.h"
#include "inspect/sections/release_names.h"

namespace inspect {

namespace {

struct HeaderMark {
  bool PartHeader::*flag;
  std::string_view name;
};

/// What the summary says in a line of its own when it holds.
constexpr HeaderMark kMarks[] = {
    {&PartHeader::internal_use_only, "internal use only"},
    {&PartHeader::drawing_snapshot, "may contain a drawing object snapshot"},
    {&PartHeader::development_use_only, "internal development use only"},
    {&PartHeader::student_edition, "student edition"},
    {&PartHeader::cloned_more_than_twice, "cloned more than twice"},
    {&PartHeader::grip_work_part, "GRIP work part"},
    {&PartHeader::grip_root_part, "GRIP root part"},
    {&PartHeader::family_template, "family template"},
    {&PartHeader::family_member, "family member"},
    {&PartHeader::kx_creator, "KX Creator"},
    {&PartHeader::frozen, "frozen"},
    {&PartHeader::wave_data, "WAVE data"},
    {&PartHeader::development, "in development"},
    {&PartHeader::product_template, "product template"},
    {&PartHeader::exported_4gd, "exported 4GD object"},
    {&PartHeader::workset, "workset part"},
    {&PartHeader::from_transient, "persisted from transient part"},
    {&PartHeader::precise_structure, "precise structure"},
    {&PartHeader::part_module, "part module"},
    {&PartHeader::intrapart_module, "intrapart part module"},
};

struct SaveStateMark {
  unsigned bit;
  std::string_view name;
};
constexpr SaveStateMark kSaveStateMarks[] = {
    {1, "interpart out-of-date objects"},
    {2, "browsable interpart broken links"},
};

void write_releases(JsonWriter& json, std::string_view name, std::uint16_t releases) {
  json.begin_array(name);
  for (int bit = 0; bit < 16; ++bit) {
    if ((releases >> bit & 1U) != 0) json.value(release_name(bit + 1));
  }
  json.end_array();
}

void write_marks(JsonWriter& json, const PartHeader& header) {
  json.begin_array("marks");
  for (const HeaderMark& mark : kMarks) {
    if (header.*mark.flag) json.value(mark.name);
  }
  if ((header.save_state & 1U) != 0) {
    for (const SaveStateMark& mark : kSaveStateMarks) {
      if ((header.save_state >> mark.bit & 1U) != 0) json.value(mark.name);
    }
  }
  json.end_array();
}

void write_units(JsonWriter& json, std::int32_t units) {
  if (!is_part_units(units)) return json.null_member("units");
  std::string name = units_name(units);
  name[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[0])));
  json.member("units", std::string_view(name));
}

void write_codeset(JsonWriter& json, std::string_view name, std::int32_t codeset) {
  const char* text = codeset_name(codeset);
  json.member(name, text != nullptr ? std::optional<std::string_view>(text) : std::nullopt);
  json.member(std::string(name) + "_number", codeset);
}

void write_save_mode(JsonWriter& json, const PartHeader& header) {
  if (header.save_mode == 0) return json.null_member("save_mode");
  json.member("save_mode", header.save_mode == 1 ? "native" : "Vaultcenter");
}

/// The operations in the order in which they were done.
void write_clone_operations(JsonWriter& json, const PartHeader& header) {
  json.begin_array("clone_operations");
  for (const std::uint8_t code : {header.clone.first_code, header.clone.second_code}) {
    if (code != 0) json.value(clone_operation_name(code));
  }
  json.end_array();
  json.member("template", header.template_type != 0
                              ? std::optional<std::string_view>(template_type_name(header.template_type))
                              : std::nullopt);
}

void write_format(JsonWriter& json, const PartRecords& part) {
  const std::int32_t format = part.header.format_word;
  const bool known = !is_v10(part) && (format == 1 || format == 2);
  json.member("format",
              known ? std::optional<std::string_view>(filing_mode_name(format == 1)) : std::nullopt);
  json.member("format_number", is_v10(part) ? std::nullopt : std::optional(format));
}

void write_display_stamp(JsonWriter& json, const PartHeader& header) {
  if (header.word_count < 12) return json.null_member("display_saved_at");
  json.time_member("display_saved_at", display_stamp_seconds(header));
}

void write_machine(JsonWriter& json, const HeaderSection& section) {
  const PartRecords& part = section.part;
  const bool has_name = is_v10(part) && section.machine_name != "Unknown";
  json.text_or_null("machine_name", has_name ? section.machine_name : std::string_view());
  const bool has_word = part.version >= 11 && !is_v10(part);
  json.member("machine_format",
              has_word ? std::optional<std::string_view>(machine_format_name(part.header.machine_format_word))
                       : std::nullopt);
  json.member("entity_count",
              has_word ? std::optional<std::int32_t>(part.header.entity_count) : std::nullopt);
}

void write_names(JsonWriter& json, std::string_view name, const std::vector<std::string>& names) {
  json.begin_array(name);
  for (const std::string& text : names) json.value(std::string_view(text));
  json.end_array();
}

std::string_view retrieval_name(Retrieval retrieval) {
  switch (retrieval) {
    case Retrieval::possible:
      break;
    case Retrieval::pre_v10_layout:
      return "no: pre-V10 layout";
    case Retrieval::old_concept_data:
      return "no: pre-Phase 6 concept data";
    case Retrieval::obsolete_v10:
      return "no: obsolete V10 format";
  }
  return "possible";
}

}  // namespace

void write_release(JsonWriter& json, const ReleaseSection& release) {
  json.begin_object();
  json.text_or_null("name", release.name);
  json.member("number", release.number);
  json.member("development", release.development);
  json.member("known", release.known);
  json.end_object();
}

void write_header(JsonWriter& json, const HeaderSection& section) {
  const PartRecords& part = section.part;
  const PartHeader& header = part.header;
  json.begin_object();
  json.member("word_count", header.word_count);
  json.member("byte_order", part.is_big_endian() ? "big" : "little");
  write_units(json, part.units);
  write_save_mode(json, header);
  write_clone_operations(json, header);
  write_codeset(json, "original_codeset", header.original_codeset);
  write_codeset(json, "last_filed_codeset", header.last_filed_codeset);
  write_releases(json, "pre_v10_filing_history", header.first_history);
  write_releases(json, "filing_history_outside_vr", header.second_history);
  write_format(json, part);
  json.member("part_stream_length", part.length);
  const bool has_version = !part.kernel_version.empty() && part.kernel_version != "Unknown";
  json.text_or_null("brepsolid_version", has_version ? part.kernel_version : std::string_view());
  json.member("brepsolid_stream_offset", section.solid_offset);
  json.member("certainly_no_foreign_data_entities", header.no_foreign_data);
  json.member("certainly_no_components", header.no_components);
  json.member("components_can_be_added", !header.components_cannot_be_added);
  const std::int32_t pattern = part.pattern_mode.value_or(0);
  json.member("pattern_data", pattern == 1 || pattern == 2
                                  ? std::optional<std::string_view>(pattern_data_name(pattern))
                                  : std::nullopt);
  write_display_stamp(json, header);
  write_machine(json, section);
  json.text_or_null("unique_part_identifier", header.unique_identifier);
  json.member("status", header.status);
  json.text_or_null("description", header.description);
  json.text_or_null("customer_area", header.customer_area);
  json.member("fast_load_data", header.fast_load);
  write_names(json, "main_parts", section.modules.main_parts);
  write_names(json, "linked_part_modules", section.modules.linked_parts);
  json.member("retrieval", retrieval_name(section.retrieval));
  write_marks(json, header);
  json.end_object();
}

}  // namespace inspect
