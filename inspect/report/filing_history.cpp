#include "inspect/report/filing_history.h"

#include <algorithm>
#include <compare>
#include <cstdint>
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

/// The saves of a trail, oldest first. Which end of the chains is the older one has changed, and clocks err.
class OrderedSaves {
 public:
  explicit OrderedSaves(const AuditTrail& audit);

  template <typename Visit>
  void visit(Visit visit) const {
    for (const Save& save : saves_) {
      const std::uint32_t number = newest_first_ ? last_number() - save.rank : save.rank;
      const auto next = std::ranges::upper_bound(first_numbers_, number);
      const auto place = static_cast<std::size_t>(next - first_numbers_.begin()) - 1;
      const AuditObject& object = audit_.objects[place];
      visit(object, audit_.entries[object.first_entry + (number - first_numbers_[place])]);
    }
  }

 private:
  /// A trail may have a million saves: kept small.
  struct Save {
    std::int32_t time;   ///< a pseudo entry goes with the save before it
    std::uint32_t rank;  ///< orders saves of one time
    auto operator<=>(const Save&) const = default;
  };

  std::uint32_t last_number() const { return static_cast<std::uint32_t>(saves_.size() - 1); }

  const AuditTrail& audit_;
  std::vector<std::uint32_t> first_numbers_;  ///< of each object's saves, counted along the chains
  std::vector<Save> saves_;
  bool newest_first_ = false;  ///< along the chains
};

OrderedSaves::OrderedSaves(const AuditTrail& audit) : audit_(audit) {
  saves_.reserve(audit.entries.size());
  first_numbers_.reserve(audit.objects.size());
  for (const AuditObject& object : audit.objects) {
    first_numbers_.push_back(static_cast<std::uint32_t>(saves_.size()));
    for (std::size_t i = 0; i < object.entry_count; ++i) {
      saves_.push_back({audit.entries[object.first_entry + i].save_time, 0});
    }
  }
  const auto is_real = [](const Save& save) { return save.time != 0; };
  const auto first = std::ranges::find_if(saves_, is_real);
  const auto last = std::find_if(saves_.rbegin(), saves_.rend(), is_real);
  newest_first_ = first == saves_.end() || first->time > last->time;
  if (newest_first_) std::ranges::reverse(saves_);
  std::int32_t time = INT32_MIN;
  std::uint32_t rank = 0;
  for (Save& save : saves_) {
    if (is_real(save)) time = save.time;
    save = {time, rank++};
  }
  if (!std::ranges::is_sorted(saves_)) std::ranges::sort(saves_);
}

void print_saves(const PartitionEntry& partition, const ObjectManagerPartition& om) {
  ShownTexts texts(partition, om);
  std::string line;
  OrderedSaves(om.audit).visit([&](const AuditObject& object, const AuditEntry& entry) {
    line = "  ";
    append_save_time(line, entry.save_time);
    line += "  ";
    texts.append(line, entry.user_name, kNameColumns);
    line += "  ";
    texts.append(line, object.program_version, kNameColumns);
    append_save_numbers(line, entry);
    line += '\n';
    support::print_text(line);
  });
}

void print_history_of(InspectFile& file, PartitionEntry& partition) {
  const ObjectReading reading(file);
  ObjectManagerPartition om;
  if (!read_object_manager_partition(file, partition, om, false)) return;
  print_pseudo_entries_note(partition, om.audit);
  print_saves(partition, om);
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
