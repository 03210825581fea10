#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"
#include "inspect/solid/solid_sink.h"
#include "inspect/solid/transmit_file.h"

namespace inspect {

/// One data block of a modeller partition:
///
///   stored_length bytes   the data; a zlib stream when compressed
///   12 or 24 bytes        checksum trailer, only when compressed
///   0 or 1 byte           padding behind the trailer when stored_length is odd
struct DataBlock {
  std::uint64_t stored_length = 0;
  bool compressed = false;
  bool wide = false;    ///< 24-byte trailer
  bool binary = false;  ///< only for the last line of the report
};

/// Copies the block at the stream's position into `output`, or nowhere when there is none, expands and checks
/// it; leaves the stream behind the block. True when nothing was found. A stream that can not be expanded is
/// reported, and what lies in front of the fault, in whole pieces of 1024 bytes, has been written.
/// Raises through inspect_error.
bool copy_data_block(InspectFile& file, const PartitionEntry& entry, const DataBlock& block, CopyMode mode,
                     TransmitFile* output, SolidSink& sink);

}  // namespace inspect
