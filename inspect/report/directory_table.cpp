#include "inspect/report/directory_table.h"

#include "support/console.h"

namespace inspect {

void print_directory_table(const InspectFile& file) {
  const auto count = static_cast<std::int64_t>(file.partitions.size()) - file.empty_directories;
  if (count > 1) {
    support::print("There are %d non-empty directories: \n", static_cast<int>(count));
  } else {
    support::print_text("There is 1 non-empty directory:\n");
  }
  for (const PartitionEntry& partition : file.partitions) {
    if (partition.data_zero) continue;
    support::print("    Id %d type %d (%s) offset %llu data %d\n", partition.id, partition.type,
                   partition_type_name(partition.type), static_cast<unsigned long long>(partition.offset),
                   partition.data);
  }
}

}  // namespace inspect
