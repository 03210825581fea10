#include "inspect/sections/filing_history.h"

#include <string>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_reader.h"
#include "inspect/records/object_read_budget.h"
#include "inspect/sections/section_sink.h"

namespace inspect {

namespace {

void read_history_of(InspectFile& file, PartitionEntry& partition, SectionSink& sink) {
  const ObjectReadBudget reading(file);
  ObjectManagerPartition om;
  om.wants_class_names = false;
  if (!read_object_manager_partition(file, partition, om)) return;
  const OrderedSaves saves(om.audit);
  sink.take_filing_history({partition, om, saves});
}

}  // namespace

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

void read_filing_history(InspectFile& file, SectionSink& sink) {
  const SilentReading silent(file.reader);
  for (PartitionEntry& partition : file.records.partitions) {
    if (partition.type != kRecordManager || !holds_object_manager_data(file.records, partition)) continue;
    try {
      read_history_of(file, partition, sink);
      partition.shared_strings.clear();
    } catch (const support::ErrorEscape& escape) {
      partition.shared_strings.clear();
      std::string_view reason = escape.message();
      while (reason.ends_with('\n')) reason.remove_suffix(1);
      sink.take_unreadable_history({partition, reason});
      return;
    }
  }
}

}  // namespace inspect
