#include "inspect/solid/data_block_copy.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/records/piece_reader.h"
#include "inspect/solid/checksum_trailer.h"
#include "inspect/solid/deflated_copy.h"
#include "inspect/solid/sound_block_copy.h"

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
  support::Finding finding;
  finding.rule = Rule::solid_inflate;
  finding.place = file.reader.place(start, stored_length);
  finding.place.partition = entry.id;
  finding.place.field = "data";
  finding.found = {{"expanded_length", result.produced}, {"zlib_status", std::int64_t{result.error}}};
  report_finding(file, std::move(finding), "decompression failure %d for partition %d - current offset %llu",
                 result.error, entry.id, static_cast<unsigned long long>(file.reader.position()));
  file.reader.move_to(start);
  PieceReader pieces(file, RunKind::deflated, stored_length);
  result.stored_checksum = fold_rest(pieces, 1);
}

/// For developers: sound latent bodies were stored so once.
void report_missing_trailer(InspectFile& file, const PartitionEntry& entry, CopyMode mode, SolidSink& sink) {
  if (!file.development_warnings) return;
  if (mode != CopyMode::extract) {
    sink.take_missing_trailer(entry);
    return;
  }
  report_problem(file, Rule::solid_missing_trailer,
                 "Development Warning: Compressed brepsolid partition %d has a missing trailer\n", entry.id);
}

DataBlockResult block_result(const PartitionEntry& entry, const DataBlock& block, std::uint64_t start,
                             const ChecksumTrailer& saved, const DeflatedResult& found) {
  return {entry,
          start,
          block.stored_length,
          block.wide,
          found.error,
          saved.expanded_size,
          found.produced,
          saved.stored_checksum,
          found.stored_checksum,
          saved.plain_checksum,
          found.plain_checksum};
}

bool copy_deflated(InspectFile& file, const PartitionEntry& entry, const DataBlock& block, CopyMode mode,
                   TransmitFile* output, SolidSink& sink) {
  const std::uint64_t start = file.reader.position();
  const SoundBlockResult fast = copy_sound_block(file, entry, block, output);
  DeflatedResult result = fast.copied ? *fast.copied : DeflatedCopy(file, output).run(block.stored_length);
  if (result.error != 0) check_stored_after_error(file, entry, start, block.stored_length, result);
  // Bytes that were gone for a moment: what was found of them since is no verdict on the file.
  if (fast.came_short) inspect_error(file.reader, Rule::record_end_of_file, "unexpected end of file");
  bool sound = result.error == 0;
  if (is_trailer_missing(file, entry, block)) {
    report_missing_trailer(file, entry, mode, sink);
    return sound;
  }
  const DataBlockResult compared =
      block_result(entry, block, start, read_checksum_trailer(file, block), result);
  if (mode != CopyMode::extract) sink.take_checked_block(compared);
  return report_differences(file, compared, mode) && sound;
}

}  // namespace

bool copy_data_block(InspectFile& file, const PartitionEntry& entry, const DataBlock& block, CopyMode mode,
                     TransmitFile* output, SolidSink& sink) {
  bool sound = true;
  if (block.compressed) {
    sound = copy_deflated(file, entry, block, mode, output, sink);
  } else {
    copy_plain(file, block.stored_length, output);
    if (mode == CopyMode::check) sink.take_plain_block(entry);
  }
  if (output != nullptr) {
    output->close();
    sink.take_extraction(
        {entry, output->name(), file.records.kernel_version, block.compressed, block.binary});
  }
  return sound;
}

}  // namespace inspect
