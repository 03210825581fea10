#include "inspect/partition_selection.h"

#include "inspect/sections/partition_listing.h"

namespace inspect {

namespace {

/// Of a partition read for its trace, that it is no object-manager data.
class TraceOnly : public SectionSink {
 public:
  explicit TraceOnly(SectionSink& next) : next_(next) {}
  void take_not_om(const PartitionEntry& partition) override { next_.take_not_om(partition); }

 protected:
  SectionSink& next_;
};

/// The audit trail too.
class AuditTrailOnly final : public TraceOnly {
 public:
  using TraceOnly::TraceOnly;
  void begin_partition(const PartitionEntry& partition) override { next_.begin_partition(partition); }
  void take_audit_trail(const PartitionEntry& partition, const ObjectManagerPartition& om) override {
    next_.take_audit_trail(partition, om);
  }
};

bool is_selected(const InspectOptions& options, const PartitionEntry& partition) {
  const auto slot = static_cast<std::size_t>(partition.type);
  return slot < InspectOptions::kPartitionSlots && options.print_partition[slot];
}

void list_object_partition(InspectFile& file, PartitionEntry& partition, const InspectOptions& options,
                           SectionSink& sink) {
  const bool whole = is_selected(options, partition);
  const PartitionReading reading = {.cookies = options.print_cookies, .chains = whole || options.trace};
  if (whole) {
    read_listed_partition(file, partition, reading, sink);
  } else if (options.print_cookies) {
    AuditTrailOnly audit(sink);
    read_listed_partition(file, partition, reading, audit);
  } else if (options.trace) {
    TraceOnly trace(sink);
    read_listed_partition(file, partition, reading, trace);
  }
}

void list_partition(InspectFile& file, PartitionEntry& partition, const InspectOptions& options,
                    SectionSink& sink) {
  if (!is_modeller_type(partition.type)) {
    list_object_partition(file, partition, options, sink);
    partition.shared_strings.clear();
  } else if (!options.scan && is_selected(options, partition)) {
    // Under -scan the reading pass has checked the partition instead.
    read_listed_brepsolid(file, partition, sink);
  }
}

}  // namespace

void list_selected_partitions(InspectFile& file, const InspectOptions& options, SectionSink& sink) {
  for (PartitionEntry& partition : file.records.partitions) {
    if (partition.bad || partition.done) continue;
    list_partition(file, partition, options, sink);
    partition.done = true;
  }
}

}  // namespace inspect
