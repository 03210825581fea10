#include "inspect/report/brepsolid_text.h"

#include "support/printable.h"

namespace inspect {

namespace {

using ull = unsigned long long;

constexpr int kBodyIdShift = 2;

}  // namespace

void print_brepsolid_directory(support::Console& console, const BrepsolidSection& section) {
  const PartitionEntry& entry = section.partition;
  console.print_text("\n--------- Contents of Brepsolid directory ----------\n");
  if (is_in_set(entry.type, kModellerSet)) {
    // The tag leads: readers of these listings find a body by its first number.
    console.print("Partition id: %d (body id %i)\n", entry.data >> kBodyIdShift, entry.id);
  } else {
    console.print("Partition id: %d\n", entry.id);
  }
  console.print("Starts at file offset: %llu\n", static_cast<ull>(entry.base));
  console.print("Header Size: %d\n", static_cast<std::int32_t>(section.header_text.size()));
  console.print("File Size: %llu\n", static_cast<ull>(entry.solid->bits.rest_size));
  if (!entry.solid->header_saved_here) {
    console.print_text("Header not saved in this partition\n");
    return;
  }
  console.print_text("Header:\n");
  console.print_text(support::printable(section.header_text, support::KeepLayout::yes));
}

void print_skipped_reference(support::Console& console, const ReferencePartition& reference) {
  console.print(
      "Partition %d is a %s partition, and thus does not have a solid body to extract. Skipping this "
      "partition.\n",
      reference.partition.id, reference.pseudo ? "pseudo reference" : "reference");
}

void print_checked_block(support::Console& console, const DataBlockResult& block) {
  const std::int32_t id = block.partition.id;
  if (block.size_differs()) {
    console.print("Compressed brepsolid partition %d had saved size %llu bytes but expanded to %llu bytes\n",
                  id, static_cast<ull>(block.saved_size), static_cast<ull>(block.found_size));
  }
  if (block.stored_differs()) {
    console.print(
        "Saved checksum for compressed brepsolid partition id %d is %llu does not match calculated checksum "
        "%ld \n",
        id, static_cast<ull>(block.saved_stored_checksum), static_cast<long>(block.found_stored_checksum));
  } else if (block.inflate_error == 0 && block.expanded_differs()) {
    console.print(
        "Saved checksum for uncompressed brepsolid partition id %d is %llu does not match calculated "
        "checksum %ld \n",
        id, static_cast<ull>(block.saved_expanded_checksum),
        static_cast<long>(block.found_expanded_checksum));
  }
}

void print_extraction(support::Console& console, const ExtractedBlock& block) {
  console.print("%s Brepsolid data into file %s\n", block.compressed ? "Decompressed" : "Extracted",
                support::printable(block.file_name).c_str());
  console.print("  Brepsolid Version: %s\n", support::printable(block.kernel_version).c_str());
  console.print("  File format: %s\n", block.binary ? "binary" : "text");
}

}  // namespace inspect
