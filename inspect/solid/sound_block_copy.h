#pragma once

#include <optional>

#include "inspect/records/inspect_file.h"
#include "inspect/solid/data_block_copy.h"
#include "inspect/solid/deflated_copy.h"
#include "inspect/solid/transmit_file.h"

namespace inspect {

struct SoundBlockResult {
  std::optional<DeflatedResult> copied = std::nullopt;
  bool came_short = false;  ///< bytes that the stream has were not there to be read
};

/// Copies a compressed block whose bytes are all as they should be: expanded without a fault, no stored byte
/// left over, size and both checksums as the trailer has them. Leaves the stream behind the stored bytes.
///
/// Has copied nothing when anything else is seen, when it would not pay, and when the output can not be taken
/// back; nothing has been told by then, and stream and output are as before.
SoundBlockResult copy_sound_block(InspectFile& file, const PartitionEntry& entry, const DataBlock& block,
                                  TransmitFile* output);

}  // namespace inspect
