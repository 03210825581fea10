#include "inspect/reading_pass.h"

#include "inspect/records/object_manager_header.h"
#include "inspect/records/part_header_reader.h"
#include "inspect/records/partition_index.h"
#include "inspect/solid/brepsolid_header.h"
#include "inspect/solid/object_manager_checksum.h"
#include "inspect/solid/transmit_extraction.h"

namespace inspect {

namespace {

void visit_partition(InspectFile& file, PartitionEntry& partition) {
  const bool trace = file.options.trace;
  if (check_partition_start(file, partition, trace)) return;
  if (holds_modeller_data(partition)) {
    read_brepsolid_partition(file, partition, trace);
    if (file.options.scan) check_scanned_partition(file, partition);
  } else if (file.options.scan && begins_with_om_intro(file, partition)) {
    check_object_manager_checksum(file, partition, trace);
  }
}

}  // namespace

void read_part(InspectFile& file, std::span<const std::byte> header_copy) {
  read_part_header(file, file.options.trace, header_copy);
  if (file.has_markers) {
    read_partition_index(file, file.options.trace);
  } else {
    start_directory_chain(file);
  }
  // By number: a directory header may append the next directory.
  for (std::size_t i = 0; i < file.partitions.size(); ++i) visit_partition(file, file.partitions[i]);
}

}  // namespace inspect
