#include "inspect/report/filing_history.h"

#include <algorithm>
#include <string>
#include <vector>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_reader.h"
#include "inspect/records/object_reading.h"
#include "inspect/report/audit_trail_lines.h"
#include "inspect/report/release_names.h"
#include "support/console.h"
#include "support/printable.h"

namespace inspect {

namespace {

constexpr std::size_t kNameColumns = 16;

struct Save {
  std::int32_t time;  ///< for ordering: a pseudo entry goes with the save before it
  TextId program_version;
  const AuditEntry* entry;
};

/// All saves of a trail, oldest first. Which end of the chains is the older one has changed, and clocks err.
std::vector<Save> saves_in_order(const AuditTrail& audit) {
  std::vector<Save> saves;
  saves.reserve(audit.entries.size());
  for (const AuditObject& object : audit.objects) {
    for (std::size_t i = 0; i < object.entry_count; ++i) {
      const AuditEntry& entry = audit.entries[object.first_entry + i];
      saves.push_back({entry.save_time, object.program_version, &entry});
    }
  }
  const auto is_real = [](const Save& save) { return save.time != 0; };
  const auto first = std::ranges::find_if(saves, is_real);
  const auto last = std::find_if(saves.rbegin(), saves.rend(), is_real);
  if (first == saves.end() || first->time > last->time) std::ranges::reverse(saves);
  std::int32_t time = INT32_MIN;
  for (Save& save : saves) time = save.time = is_real(save) ? save.time : time;
  if (!std::ranges::is_sorted(saves, {}, &Save::time)) std::ranges::stable_sort(saves, {}, &Save::time);
  return saves;
}

void print_saves(const ObjectManagerPartition& om) {
  ShownTexts texts(om.texts);
  std::string line;
  for (const Save& save : saves_in_order(om.audit)) {
    line = "  ";
    append_save_time(line, save.entry->save_time);
    line += "  ";
    texts.append(line, save.entry->user_name, kNameColumns);
    line += "  ";
    texts.append(line, save.program_version, kNameColumns);
    append_save_numbers(line, *save.entry);
    line += '\n';
    support::print_text(line);
  }
}

void print_history_of(InspectFile& file, PartitionEntry& partition) {
  const ObjectReading reading(file);
  ObjectManagerPartition om;
  if (!read_object_manager_partition(file, partition, om, false)) return;
  print_pseudo_entries_note(partition, om.audit);
  print_saves(om);
}

}  // namespace

void print_old_filing_history(std::uint16_t word) {
  if (word == 0) support::print_text(" none");
  for (int bit = 0; bit < 16; ++bit) {
    if ((word >> bit & 1U) != 0) support::print(" %s", release_name(bit + 1));
  }
  support::print_text("\n");
}

void print_v10_filing_history(InspectFile& file) {
  const QuietErrors quiet(file);
  for (PartitionEntry& partition : file.partitions) {
    if (partition.type != kRecordManager || !holds_object_manager_data(file, partition)) continue;
    try {
      print_history_of(file, partition);
      partition.shared_strings.clear();
    } catch (const support::ErrorEscape& escape) {
      partition.shared_strings.clear();
      std::string reason = escape.message();
      while (!reason.empty() && reason.back() == '\n') reason.pop_back();
      support::print("  The history of partition %d cannot be read: %s\n", partition.id,
                     support::printable(reason).c_str());
      return;
    }
  }
}

}  // namespace inspect
