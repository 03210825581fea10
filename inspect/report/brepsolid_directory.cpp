#include "inspect/report/brepsolid_directory.h"

#include "inspect/solid/brepsolid_header.h"
#include "support/console.h"
#include "support/printable.h"

namespace inspect {

namespace {

constexpr int kBodyIdShift = 2;

bool is_selected(const InspectOptions& options, std::int32_t type) {
  return type >= 0 && static_cast<std::size_t>(type) < options.print_partition.size() &&
         options.print_partition[static_cast<std::size_t>(type)];
}

}  // namespace

void print_brepsolid_directory(InspectFile& file, const PartitionEntry& entry) {
  // Under -scan the reading pass has checked the partition instead.
  if (entry.solid == nullptr || file.options.scan || !is_selected(file.options, entry.type)) return;
  const BrepsolidPartition& solid = *entry.solid;
  const std::string text = read_header_text(file, solid, file.options.trace);
  support::print("\n--------- Contents of Brepsolid directory ----------\n");
  if (is_in_set(entry.type, kModellerSet)) {
    // The tag leads: readers of these listings find a body by its first number.
    support::print("Partition id: %d (body id %i)\n", entry.data >> kBodyIdShift, entry.id);
  } else {
    support::print("Partition id: %d\n", entry.id);
  }
  support::print("Starts at file offset: %llu\n", static_cast<unsigned long long>(entry.base));
  support::print("Header Size: %d\n", static_cast<std::int32_t>(text.size()));
  support::print("File Size: %llu\n", static_cast<unsigned long long>(solid.bits.rest_size));
  if (!solid.header_saved_here) {
    support::print("Header not saved in this partition\n");
    return;
  }
  support::print("Header:\n");
  support::print_text(support::printable(text, support::KeepLayout::yes));
}

}  // namespace inspect
