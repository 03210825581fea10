#include "inspect/solid/data_block_copy.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/records/traced_readers.h"
#include "inspect/solid/checksum_trailer.h"
#include "inspect/solid/deflated_copy.h"
#include "inspect/solid/piece_reader.h"
#include "inspect/solid/sound_block_copy.h"
#include "support/console.h"
#include "support/printable.h"

namespace inspect {

namespace {

void copy_plain(InspectFile& file, std::uint64_t length, TransmitFile* output) {
  PieceReader pieces(file, RunKind::plain, length);
  while (pieces.remaining() > 0) {
    const std::span<const unsigned char> bytes = pieces.next();
    if (output != nullptr) output->write(bytes.data(), bytes.size());
  }
}

/// After a fault the stored bytes are checked on their own, from their start.
void check_stored_after_error(InspectFile& file, const PartitionEntry& entry, std::uint64_t start,
                              std::uint64_t stored_length, DeflatedResult& result) {
  report_problem(file, "decompression failure %d for partition %d - current offset %llu", result.error,
                 entry.id, static_cast<unsigned long long>(current_position(file)));
  move_to(file.options.trace, file, start);
  PieceReader pieces(file, RunKind::deflated, stored_length);
  result.stored_checksum = fold_rest(pieces, 1);
}

void tell_missing_trailer(InspectFile& file, const PartitionEntry& entry, CopyMode mode) {
  if (!file.development_warnings) return;
  constexpr const char* kText =
      "Development Warning: Compressed brepsolid partition %d has a missing trailer\n";
  if (mode == CopyMode::extract) {
    report_problem(file, kText, entry.id);
  } else {
    support::print(kText, entry.id);
  }
}

bool copy_deflated(InspectFile& file, const PartitionEntry& entry, const DataBlock& block, CopyMode mode,
                   TransmitFile* output) {
  const std::uint64_t start = current_position(file);
  DeflatedResult result;
  if (const auto copied = copy_sound_block(file, entry, block, output)) {
    result = *copied;
  } else {
    result = DeflatedCopy(file, output).run(block.stored_length);
  }
  if (result.error != 0) check_stored_after_error(file, entry, start, block.stored_length, result);
  bool sound = result.error == 0;
  if (is_trailer_missing(file, entry, block)) {
    tell_missing_trailer(file, entry, mode);
    return sound;
  }
  const ChecksumTrailer saved = read_checksum_trailer(file, block);
  return compare_with_trailer(file, entry, mode, saved, result) && sound;
}

void print_extracted(const InspectFile& file, const DataBlock& block, const TransmitFile& output) {
  support::print("%s Brepsolid data into file %s\n", block.compressed ? "Decompressed" : "Extracted",
                 support::printable(output.name()).c_str());
  support::print("  Brepsolid Version: %s\n", support::printable(file.kernel_version).c_str());
  support::print("  File format: %s\n", block.binary ? "binary" : "text");
}

}  // namespace

bool copy_data_block(InspectFile& file, const PartitionEntry& entry, const DataBlock& block, CopyMode mode,
                     TransmitFile* output) {
  bool sound = true;
  if (block.compressed) {
    sound = copy_deflated(file, entry, block, mode, output);
  } else {
    copy_plain(file, block.stored_length, output);
    if (mode == CopyMode::check) {
      support::print("Brepsolid partition %d is not compressed and has no checksum\n", entry.id);
    }
  }
  if (output != nullptr) {
    output->close();
    print_extracted(file, block, *output);
  }
  return sound;
}

}  // namespace inspect
