#include "inspect/reading_pass.h"

#include <algorithm>

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

std::size_t memory_of_partitions(const InspectFile& file) {
  constexpr std::size_t kAllocation = 16;
  const auto solids = static_cast<std::size_t>(std::ranges::count_if(
      file.partitions, [](const PartitionEntry& entry) { return entry.solid != nullptr; }));
  // In files without markers the offset of each directory is kept too, in a table that is a third full or
  // more.
  const std::size_t entry = sizeof(PartitionEntry) + (file.has_markers ? 0 : 3 * sizeof(std::uint64_t));
  return file.partitions.size() * entry + solids * (sizeof(BrepsolidPartition) + kAllocation);
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
  file.partition_memory = memory_of_partitions(file);
}

}  // namespace inspect
