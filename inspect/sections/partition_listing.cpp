#include "inspect/sections/partition_listing.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_reader.h"
#include "inspect/records/object_read_budget.h"
#include "inspect/sections/section_sink.h"
#include "inspect/solid/brepsolid_header.h"

namespace inspect {

namespace {

/// Below this header version the heads of the chains that count are those of the entity chain header.
constexpr std::int16_t kFirstOwnChains = 15;

class PartitionReader {
 public:
  PartitionReader(InspectFile& file, PartitionEntry& partition, const PartitionReading& reading,
                  SectionSink& sink)
      : file_(file), partition_(partition), reading_(reading), sink_(sink) {}

  void read() {
    sink_.begin_partition(partition_);
    const ObjectReadBudget budget(file_);
    if (!read_header()) return;
    read_om_classes(file_, partition_, om_);
    sink_.take_om_classes(partition_, om_);
    om_.audit.wants_cookies = reading_.cookies;
    read_shared_strings_and_root(file_, partition_, om_);
    sink_.take_om_root(partition_, om_);
    sink_.take_audit_trail(partition_, om_);
    read_chains();
  }

 private:
  bool read_header();
  void read_chains();

  InspectFile& file_;
  PartitionEntry& partition_;
  const PartitionReading& reading_;
  SectionSink& sink_;
  ObjectManagerPartition om_;
};

/// A trace is the log of all that is read, so that a header is then read where it is listed.
bool PartitionReader::read_header() {
  if (const ObjectManagerHeader* known = file_.om_headers.find(partition_.number);
      known != nullptr && file_.reader.trace() == nullptr) {
    take_known_om_header(file_, partition_, *known, om_);
    sink_.take_om_start({om_.start, om_.length});
    sink_.take_om_identity(partition_, om_);
    sink_.take_om_counts(partition_, om_);
    return true;
  }
  read_om_length(file_, partition_, om_);
  sink_.take_om_start({om_.start, om_.length});
  if (!read_om_intro(file_, partition_, om_)) {
    sink_.take_not_om(partition_);
    return false;
  }
  read_om_identity(file_, partition_, om_);
  sink_.take_om_identity(partition_, om_);
  read_om_counts(file_, partition_, om_);
  sink_.take_om_counts(partition_, om_);
  return true;
}

void PartitionReader::read_chains() {
  if (partition_.type != kRecordManager || !reading_.chains) return;
  om_.audit = {};  // handed over; a list of chains may be as long
  EntityTypeChains heads = {};
  if (om_.has_root()) read_entity_type_chains(file_, partition_, om_, heads);
  if (file_.records.version < kFirstOwnChains) {
    sink_.take_old_entity_chains(file_.records.entity_chain_words);
  } else if (om_.has_root()) {
    sink_.take_entity_chains({heads, partition_.encoding});
  }
}

}  // namespace

void read_listed_partition(InspectFile& file, PartitionEntry& partition, const PartitionReading& reading,
                           SectionSink& sink) {
  if (holds_object_manager_data(file.records, partition) || begins_with_om_intro(file, partition)) {
    PartitionReader(file, partition, reading, sink).read();
    return;
  }
  // Most directories of older files hold plain numbers that have no layout.
  sink.begin_unlisted_directory(partition);
  if (partition.type == kRecordManager) sink.take_old_entity_chains(file.records.entity_chain_words);
}

void read_listed_brepsolid(InspectFile& file, const PartitionEntry& partition, SectionSink& sink) {
  if (partition.solid == nullptr) return;
  sink.take_brepsolid({partition, read_header_text(file, *partition.solid)});
}

}  // namespace inspect
