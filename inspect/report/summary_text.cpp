#include "inspect/report/summary_text.h"

#include <algorithm>
#include <ctime>
#include <string>

#include "inspect/report/summary_tables.h"
#include "inspect/sections/release_names.h"
#include "support/local_time.h"
#include "support/printable.h"

namespace inspect {

namespace {

void print_use_restrictions(support::Console& console, const PartHeader& header) {
  if (header.internal_use_only) {
    console.print_text(
        "**** This part is for internal use only and should only be used within Vantor ****\n");
  }
  if (header.drawing_snapshot) {
    console.print_text(
        "**** This part may contain a drawing object snapshot and should be kept confidential within Vantor "
        "****\n");
  }
  if (header.development_use_only) {
    console.print_text(
        "**** This part is for internal development use only and should be kept confidential within Vantor "
        "****\n");
  }
  if (header.student_edition) console.print_text("**** This part was created / saved by student edition\n");
}

void print_clone_history(support::Console& console, const PartHeader& header) {
  if (header.save_mode != 0) {
    console.print("Part was last saved in %s mode\n", header.save_mode == 1 ? "native" : "Vaultcenter");
  }
  if (header.cloned_more_than_twice) {
    console.print_text("Part has been cloned more than twice since the last save\n");
  }
  const CloneInformation& clone = header.clone;
  if (clone.first_code != 0) console.print("Part was %s\n", clone_operation_name(clone.first_code));
  if (clone.second_code != 0) {
    console.print("Part was%s %s\n", clone.first_code != 0 ? " then" : "",
                  clone_operation_name(clone.second_code));
  }
  if (header.template_type != 0) console.print("Part was %s\n", template_type_name(header.template_type));
}

void print_save_state(support::Console& console, const PartHeader& header) {
  const auto bit = [&](unsigned number) { return (header.save_state >> number & 1U) != 0; };
  if (!bit(0)) return;
  if (bit(1)) console.print_text("Part had interpart out-of-date objects upon save\n");
  if (bit(2)) console.print_text("Part had browsable interpart broken links upon save\n");
}

void print_codesets(support::Console& console, const PartHeader& header) {
  if (const char* name = codeset_name(header.original_codeset)) {
    console.print("Part original codeset: %s\n", name);
  } else {
    console.print("Part is from an unknown codeset, %d\n", header.original_codeset);
  }
  if (const char* name = codeset_name(header.last_filed_codeset)) {
    console.print("Part last filed in codeset: %s\n", name);
  } else {
    console.print("Part last filed in an unknown codeset, %d\n", header.last_filed_codeset);
  }
}

void print_format(support::Console& console, const PartRecords& part) {
  if (is_v10(part)) return;
  const std::int32_t format = part.header.format_word;
  if (format == 1 || format == 2) {
    console.print("Format: %s\n", filing_mode_name(format == 1));
    return;
  }
  console.print("Format: **** invalid value %d ****\n", format);
  console.print_message("  Corruption in part file format\n");
}

void print_sizes(support::Console& console, const SummaryProperties& properties) {
  const PartRecords& part = properties.part;
  console.print("Part File Size (bytes): %llu\n", static_cast<unsigned long long>(part.length));
  if (part.kernel_version.empty() || part.kernel_version == "Unknown") return;
  console.print("Brepsolid Version: %s\n", support::printable(part.kernel_version).c_str());
  if (!properties.solid_offset) return;
  const auto offset = static_cast<unsigned long long>(*properties.solid_offset);
  console.print("Brepsolid offset @%llu(%llu)\n", offset, offset);
}

struct PropertyLine {
  bool PartHeader::*flag;
  const char* line;
};

constexpr PropertyLine kPropertyLines[] = {
    {&PartHeader::grip_work_part,
     "A GRIP design-in-context program has been run with this as the work part\n"},
    {&PartHeader::grip_root_part,
     "A GRIP design-in-context program has been run with this as the root part\n"},
    {&PartHeader::family_template, "Part is a family template part\n"},
    {&PartHeader::family_member, "Part is a family member part\n"},
    {&PartHeader::kx_creator, "Part is a KX Creator part\n"},
    {&PartHeader::frozen, "Part is frozen from interpart update\n"},
    {&PartHeader::wave_data, "Part has WAVE data\n"},
    {&PartHeader::development, "Part saved as \"in development\"\n"},
    {&PartHeader::product_template, "Part contains a product template\n"},
    {&PartHeader::exported_4gd, "Part represents exported 4GD object\n"},
    {&PartHeader::workset, "Part represents workset part\n"},
    {&PartHeader::from_transient, "Part is persisted from transient part\n"},
    {&PartHeader::precise_structure, "The assembly part has precise structure\n"},
};

void print_properties(support::Console& console, const PartHeader& header) {
  const auto truth = [](bool value) { return value ? "TRUE" : "FALSE"; };
  console.print("Definitely contains no foreign data entities? %s\n", truth(header.no_foreign_data));
  console.print("Definitely contains no components? %s\n", truth(header.no_components));
  console.print("Components can be added to this part? %s\n", truth(!header.components_cannot_be_added));
  for (const PropertyLine& property : kPropertyLines) {
    if (header.*property.flag) console.print_text(property.line);
  }
}

void print_display_stamp(support::Console& console, const PartHeader& header) {
  console.print_text("Display file date/time stamp: ");
  if (header.word_count < 12) {
    console.print_text("<none>\n");
    return;
  }
  console.print_text(support::local_time_line(display_stamp_seconds(header)));
}

void print_machine(support::Console& console, const SummaryDetails& details) {
  const PartRecords& part = details.part;
  if (part.version < 11) {
    console.print_text("Entity count: Unknown in pre-V9 parts\n");
    console.print_text("Machine format: Unknown in pre-V9 parts\n");
  } else if (is_v10(part)) {
    console.print("Machine format: %s\n", support::printable(details.machine_name).c_str());
    console.print("Data format: %s endian\n", part.is_big_endian() ? "Big" : "Little");
    console.print("Unique part identifier (UID): %s\n",
                  support::printable(part.header.unique_identifier).c_str());
  } else {
    console.print("Entity count: %d\n", part.header.entity_count);
    console.print("Machine format: %s\n", machine_format_name(part.header.machine_format_word));
  }
}

void print_file_header(support::Console& console, const PartHeader& header) {
  if (!header.is_full()) return;
  const auto shown = [](const std::string& text) {
    return text.empty() ? std::string("<empty>") : support::printable(text);
  };
  console.print("File Header:\n  Status: %d\n", header.status);
  console.print("  Description: %s\n", shown(header.description).c_str());
  console.print("  Customer area: %s\n", shown(header.customer_area).c_str());
}

}  // namespace

void print_release_line(support::Console& console, const ReleaseSection& release) {
  if (!release.known) {
    console.print("Release number %d is unknown - are you using the latest version of vr_inspect?\n",
                  release.number);
    return;
  }
  console.print("Release: %s%s\n\n", std::string(release.name).c_str(), release.development ? " (DEV)" : "");
}

void print_summary_heading(support::Console& console, const char* shown_name, const PartRecords& part) {
  console.print_text("\n-------- Part File Summary ------------\n");
  console.print("Part name: %s\n", shown_name);
  print_use_restrictions(console, part.header);
}

void print_summary_opening(support::Console& console, const PartRecords& part) {
  console.print("Part units: %s\n", units_name(part.units));
  print_clone_history(console, part.header);
  print_save_state(console, part.header);
  print_codesets(console, part.header);
}

void print_old_history(support::Console& console, const OldHistory& history) {
  console.print_text(history.kind == OldHistory::Kind::before_v10 ? "Pre V10 filing history:"
                                                                  : "Filing history outside VR:");
  if (history.releases == 0) console.print_text(" none");
  for (int bit = 0; bit < 16; ++bit) {
    if ((history.releases >> bit & 1U) != 0) console.print(" %s", release_name(bit + 1));
  }
  console.print_text("\n");
}

void print_unreadable_history(support::Console& console, const UnreadableHistory& history) {
  console.print("  The history of partition %d cannot be read: %s\n", history.partition.id,
                support::printable(history.reason).c_str());
}

void print_summary_properties(support::Console& console, const SummaryProperties& properties) {
  print_format(console, properties.part);
  print_sizes(console, properties);
  if (is_v10(properties.part)) print_properties(console, properties.part.header);
}

void print_part_modules(support::Console& console, const PartModules& modules) {
  if (!modules.main_parts.empty()) {
    console.print_text("Part is Linked Part Module part whose main part is\n");
    for (const std::string& name : modules.main_parts)
      console.print("%s\n", support::printable(name).c_str());
  }
  if (!modules.linked_parts.empty()) {
    const auto count = static_cast<int>(modules.linked_parts.size());
    if (count == 1) {
      console.print("Part contain %d linked part module and having references to\n", count);
    } else {
      console.print("Part contains %d linked part modules and having references to\n", count);
    }
    for (const std::string& name : modules.linked_parts)
      console.print("%s\n", support::printable(name).c_str());
  }
  if (modules.part_module) {
    console.print_text(modules.intrapart_module ? "Part contains intrapart part module also.\n"
                                                : "Part contains intrapart part module.\n");
  }
}

void print_summary_details(support::Console& console, const SummaryDetails& details) {
  console.print("Pattern data: %s\n", pattern_data_name(details.part.pattern_mode.value_or(0)));
  print_display_stamp(console, details.part.header);
  print_machine(console, details);
  print_file_header(console, details.part.header);
  if (details.part.header.fast_load) console.print_text("\nPart contains fast load data\n");
}

void print_directories(support::Console& console, const PartRecords& part) {
  if (part.next_partition_id) console.print("Next available partition id: %d\n", *part.next_partition_id);
  const auto count = static_cast<std::int64_t>(part.partitions.size()) - part.empty_directories;
  if (count > 1) {
    console.print("There are %d non-empty directories: \n", static_cast<int>(count));
  } else {
    console.print_text("There is 1 non-empty directory:\n");
  }
  for (const PartitionEntry& partition : part.partitions) {
    if (partition.data_zero) continue;
    console.print("    Id %d type %d (%s) offset %llu data %d\n", partition.id, partition.type,
                  partition_type_name(partition.type), static_cast<unsigned long long>(partition.offset),
                  partition.data);
  }
}

void print_retrieval(support::Console& console, Retrieval retrieval) {
  switch (retrieval) {
    case Retrieval::possible:
      break;
    case Retrieval::pre_v10_layout:
      console.print_text("This file cannot be directly retrieved into V10\nRefile the part in V9.x first\n");
      break;
    case Retrieval::old_concept_data:
      console.print_text(
          "This file cannot be retrieved into V10 because\nit contains pre-Phase 6 VRConcept data.\n");
      break;
    case Retrieval::obsolete_v10:
      console.print_text(
          "This file is in an obsolete V10 format, filed prior to the close of Phase 9\n"
          "It cannot be retrieved in V10\n");
      break;
  }
  console.print_text("\n");
}

}  // namespace inspect
