#include "inspect/report/partition_printers.h"

#include "inspect/records/object_manager_reader.h"
#include "inspect/records/object_reading.h"
#include "inspect/report/audit_trail_lines.h"
#include "inspect/report/brepsolid_directory.h"
#include "inspect/report/entity_chain_listing.h"
#include "inspect/report/object_manager_listing.h"
#include "support/console.h"

namespace inspect {

namespace {

using support::print;

/// Below this header version the heads of the chains that count are those of the entity chain header.
constexpr std::int16_t kFirstOwnChains = 15;

void print_heading(const PartitionEntry& partition) {
  print("\n--------- Contents of %s directory ----------\n", partition_type_name(partition.type));
  print("Partition id: %d\n", partition.id);
}

void print_not_om(const PartitionEntry& partition) {
  print("Directory %s %d is expected to be in OM format but is not.\n", partition_type_name(partition.type),
        partition.id);
  print("This will be true for pre-Phase 6 V10 parts\n");
}

/// One partition, read and printed step by step.
class PartitionPrinter {
 public:
  PartitionPrinter(InspectFile& file, PartitionEntry& partition, PartitionListing listing)
      : file_(file),
        partition_(partition),
        contents_(listing == PartitionListing::contents),
        audit_(listing != PartitionListing::trace_only),
        trace_(file.options.trace) {}

  void print() {
    if (audit_) print_heading(partition_);
    const ObjectReading reading(file_);
    if (!print_header()) return;
    read_om_classes(file_, partition_, om_, trace_);
    if (contents_) print_om_classes(partition_, om_);
    read_shared_strings_and_root(file_, partition_, om_, trace_);
    if (contents_) print_om_root(partition_, om_);
    if (audit_) {
      print_pseudo_entries_note(partition_, om_.audit);
      print_audit_trail(partition_, om_);
    }
    print_chains();
  }

 private:
  bool print_header() {
    read_om_length(file_, partition_, om_, trace_);
    if (contents_) print_om_start(om_);
    if (!read_om_intro(file_, partition_, om_, trace_)) {
      print_not_om(partition_);
      return false;
    }
    read_om_identity(file_, partition_, om_, trace_);
    if (contents_) print_om_identity(partition_, om_);
    read_om_counts(file_, partition_, om_, trace_);
    if (contents_) print_om_counts(partition_, om_);
    return true;
  }

  void print_chains() {
    if (partition_.type != kRecordManager || (!contents_ && !trace_)) return;
    om_.audit = {};  // printed; a list of chains may be as long
    EntityTypeChains heads = {};
    if (om_.has_root()) read_entity_type_chains(trace_, file_, partition_, heads);
    if (!contents_) return;
    if (file_.release < kFirstOwnChains) {
      print_old_entity_chains(file_.entity_chain_words);
    } else if (om_.has_root()) {
      print_entity_type_chains(heads, partition_.compact);
    }
  }

  InspectFile& file_;
  PartitionEntry& partition_;
  ObjectManagerPartition om_;
  bool contents_;
  bool audit_;
  bool trace_;
};

/// A directory of a file below version 15. Most hold plain numbers that have no listing.
void print_older_directory(InspectFile& file, PartitionEntry& partition, PartitionListing listing) {
  if (begins_with_om_intro(file, partition)) {
    PartitionPrinter(file, partition, listing).print();
  } else if (listing == PartitionListing::contents) {
    print_heading(partition);
    if (partition.type == kRecordManager) {
      print_old_entity_chains(file.entity_chain_words);
    } else {
      print("Not in OM format\n");
    }
  }
}

bool is_selected(const InspectFile& file, const PartitionEntry& partition) {
  const auto slot = static_cast<std::size_t>(partition.type);
  return slot < InspectOptions::kPartitionSlots && file.options.print_partition[slot];
}

void print_object_partition(InspectFile& file, PartitionEntry& partition) {
  if (is_selected(file, partition)) {
    print_partition_contents(file, partition, PartitionListing::contents);
  } else if (file.options.print_cookies) {
    print_partition_contents(file, partition, PartitionListing::cookies);
  } else if (file.options.trace) {
    print_partition_contents(file, partition, PartitionListing::trace_only);
  }
}

void print_partition(InspectFile& file, PartitionEntry& partition) {
  if (!is_modeller_type(partition.type)) {
    print_object_partition(file, partition);
    partition.shared_strings.clear();
    return;
  }
  print_brepsolid_directory(file, partition);
}

}  // namespace

void print_partition_contents(InspectFile& file, PartitionEntry& partition, PartitionListing listing) {
  if (holds_object_manager_data(file, partition)) {
    PartitionPrinter(file, partition, listing).print();
  } else {
    print_older_directory(file, partition, listing);
  }
}

void print_partitions(InspectFile& file) {
  for (PartitionEntry& partition : file.partitions) {
    if (partition.bad || partition.done) continue;
    print_partition(file, partition);
    partition.done = true;
  }
}

}  // namespace inspect
