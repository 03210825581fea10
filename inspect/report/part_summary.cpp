#include "inspect/report/part_summary.h"

#include <algorithm>
#include <bit>
#include <ctime>
#include <string>

#include "cfi/stream_names.h"
#include "inspect/records/named_streams.h"
#include "inspect/report/compatibility.h"
#include "inspect/report/directory_table.h"
#include "inspect/report/external_references.h"
#include "inspect/report/filing_history.h"
#include "inspect/report/machine_format.h"
#include "inspect/report/release_names.h"
#include "inspect/report/release_report.h"
#include "inspect/report/summary_tables.h"
#include "inspect/sections/jt_bodies.h"
#include "support/console.h"
#include "support/local_time.h"
#include "support/printable.h"

namespace inspect {

namespace {

using support::print;
using support::print_text;

constexpr std::int32_t kFirstV10 = 15;

bool is_v10(const InspectFile& file) { return file.release >= kFirstV10; }

void print_use_restrictions(const PartHeader& header) {
  if (header.internal_use_only) {
    print_text("**** This part is for internal use only and should only be used within Vantor ****\n");
  }
  if (header.drawing_snapshot) {
    print_text(
        "**** This part may contain a drawing object snapshot and should be kept confidential within Vantor "
        "****\n");
  }
  if (header.development_use_only) {
    print_text(
        "**** This part is for internal development use only and should be kept confidential within Vantor "
        "****\n");
  }
  if (header.student_edition) print_text("**** This part was created / saved by student edition\n");
}

void print_clone_history(const PartHeader& header) {
  if (header.save_mode != 0) {
    print("Part was last saved in %s mode\n", header.save_mode == 1 ? "native" : "Vaultcenter");
  }
  if (header.cloned_more_than_twice) {
    print_text("Part has been cloned more than twice since the last save\n");
  }
  const CloneInformation& clone = header.clone;
  if (clone.first_code != 0) print("Part was %s\n", clone_operation_name(clone.first_code));
  if (clone.second_code != 0) {
    print("Part was%s %s\n", clone.first_code != 0 ? " then" : "", clone_operation_name(clone.second_code));
  }
  if (header.template_type != 0) print("Part was %s\n", template_type_name(header.template_type));
}

void print_save_state(const PartHeader& header) {
  const auto bit = [&](unsigned number) { return (header.save_state >> number & 1U) != 0; };
  if (!bit(0)) return;
  if (bit(1)) print_text("Part had interpart out-of-date objects upon save\n");
  if (bit(2)) print_text("Part had browsable interpart broken links upon save\n");
}

void print_codesets(const PartHeader& header) {
  if (const char* name = codeset_name(header.original_codeset)) {
    print("Part original codeset: %s\n", name);
  } else {
    print("Part is from an unknown codeset, %d\n", header.original_codeset);
  }
  if (const char* name = codeset_name(header.last_filed_codeset)) {
    print("Part last filed in codeset: %s\n", name);
  } else {
    print("Part last filed in an unknown codeset, %d\n", header.last_filed_codeset);
  }
}

void print_filing_histories(InspectFile& file) {
  print_text("Pre V10 filing history:");
  print_old_filing_history(file.header.first_history);
  if (is_v10(file) && !file.options.print_cookies) {
    print_text("V10 filing history:\n");
    print_v10_filing_history(file);
  }
  print_text("Filing history outside VR:");
  print_old_filing_history(file.header.second_history);
}

void print_format(const InspectFile& file) {
  if (is_v10(file)) return;
  const std::int32_t format = file.header.format_word;
  if (format == 1 || format == 2) {
    print("Format: %s\n", filing_mode_name(format == 1));
    return;
  }
  print("Format: **** invalid value %d ****\n", format);
  support::print_message("  Corruption in part file format\n");
}

void print_sizes(const InspectFile& file) {
  print("Part File Size (bytes): %llu\n", static_cast<unsigned long long>(file.file_length));
  if (file.kernel_version.empty() || file.kernel_version == "Unknown") return;
  print("Brepsolid Version: %s\n", support::printable(file.kernel_version).c_str());
  const auto solid = std::ranges::find(file.partitions, kOldBrepsolid, &PartitionEntry::type);
  if (solid == file.partitions.end()) return;
  const auto offset = static_cast<unsigned long long>(solid->base);
  print("Brepsolid offset @%llu(%llu)\n", offset, offset);
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

void print_properties(const PartHeader& header) {
  const auto truth = [](bool value) { return value ? "TRUE" : "FALSE"; };
  print("Definitely contains no foreign data entities? %s\n", truth(header.no_foreign_data));
  print("Definitely contains no components? %s\n", truth(header.no_components));
  print("Components can be added to this part? %s\n", truth(!header.components_cannot_be_added));
  for (const PropertyLine& property : kPropertyLines) {
    if (header.*property.flag) print_text(property.line);
  }
}

/// The parts that the external reference table names as modules of this one.
void print_part_modules(InspectFile& file) {
  PartModuleReferences modules;
  try {
    if (const auto source =
            open_child_stream(file, stream_names::kPartStorage, stream_names::kExternalReferences)) {
      modules = find_part_modules(*source);
    }
  } catch (const support::ErrorEscape& escape) {
    report_escape(file, escape);
  }
  if (!modules.main_parts.empty()) {
    print_text("Part is Linked Part Module part whose main part is\n");
    for (const std::string& name : modules.main_parts) print("%s\n", support::printable(name).c_str());
  }
  if (!modules.linked_parts.empty()) {
    const auto count = static_cast<int>(modules.linked_parts.size());
    if (count == 1) {
      print("Part contain %d linked part module and having references to\n", count);
    } else {
      print("Part contains %d linked part modules and having references to\n", count);
    }
    for (const std::string& name : modules.linked_parts) print("%s\n", support::printable(name).c_str());
  }
  if (file.header.part_module) {
    print_text(file.header.intrapart_module ? "Part contains intrapart part module also.\n"
                                            : "Part contains intrapart part module.\n");
  }
}

void print_display_stamp(const PartHeader& header) {
  print_text("Display file date/time stamp: ");
  if (header.word_count < 12) {
    print_text("<none>\n");
    return;
  }
  const std::int64_t seconds =
      ((std::int64_t{header.stamp_days} - 3) * 14400 + header.stamp_ticks) * 6 + 28800;
  print_text(support::local_time_line(seconds));
}

void print_machine(InspectFile& file) {
  const PartHeader& header = file.header;
  if (file.release < 11) {
    print_text("Entity count: Unknown in pre-V9 parts\n");
    print_text("Machine format: Unknown in pre-V9 parts\n");
  } else if (is_v10(file)) {
    const bool big_machine = std::endian::native == std::endian::big;
    print("Machine format: %s\n", support::printable(machine_format_text(file)).c_str());
    print("Data format: %s endian\n", file.swap_bytes != big_machine ? "Big" : "Little");
    print("Unique part identifier (UID): %s\n", support::printable(header.unique_identifier).c_str());
  } else {
    print("Entity count: %d\n", header.entity_count);
    print("Machine format: %s\n", machine_format_name(header.machine_format_word));
  }
}

void print_file_header(const PartHeader& header) {
  if (!header.is_full()) return;
  const auto shown = [](const std::string& text) {
    return text.empty() ? std::string("<empty>") : support::printable(text);
  };
  print("File Header:\n  Status: %d\n", header.status);
  print("  Description: %s\n", shown(header.description).c_str());
  print("  Customer area: %s\n", shown(header.customer_area).c_str());
}

void print_streams(InspectFile& file) {
  visit_named_stream(file, stream_names::kCompatibility, print_compatibility);
  visit_named_stream(file, stream_names::kJt,
                     [&](auto& source) { list_jt_bodies(file, source, stream_names::kJt); });
  if (file.options.print_full_extra) {
    visit_named_stream(file, stream_names::kDisplayJt,
                       [&](auto& source) { list_jt_bodies(file, source, stream_names::kDisplayJt); });
  }
}

/// Parts that current releases cannot read; the first reason wins.
void print_retrieval_warnings(InspectFile& file) {
  const char* reason = nullptr;
  if (file.header.pre_v10_layout) {
    reason = "This file cannot be directly retrieved into V10\nRefile the part in V9.x first\n";
  } else if (file.header.old_concept_data) {
    reason = "This file cannot be retrieved into V10 because\nit contains pre-Phase 6 VRConcept data.\n";
  } else if (file.release == kFirstV10) {
    reason =
        "This file is in an obsolete V10 format, filed prior to the close of Phase 9\n"
        "It cannot be retrieved in V10\n";
  }
  if (reason != nullptr) {
    print_text(reason);
    file.failed = true;
  }
  print_text("\n");
}

}  // namespace

void print_part_summary(InspectFile& file) {
  const PartHeader& header = file.header;
  print_text("\n-------- Part File Summary ------------\n");
  print("Part name: %s\n", file.shown_name.c_str());
  print_use_restrictions(header);
  print_release_line(file);
  print("Part units: %s\n", units_name(file.units));
  print_clone_history(header);
  print_save_state(header);
  print_codesets(header);
  print_filing_histories(file);
  print_format(file);
  print_sizes(file);
  if (is_v10(file)) {
    print_properties(header);
    print_part_modules(file);
  }
  print("Pattern data: %s\n", pattern_data_name(file.pattern_mode.value_or(0)));
  print_display_stamp(header);
  print_machine(file);
  print_file_header(header);
  if (header.fast_load) print_text("\nPart contains fast load data\n");
  print_streams(file);
  if (file.next_partition_id) print("Next available partition id: %d\n", *file.next_partition_id);
  print_directory_table(file);
  print_retrieval_warnings(file);
}

}  // namespace inspect
