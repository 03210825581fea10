#pragma once

#include <cstddef>
#include <cstdint>

#include "inspect/records/inspect_file.h"
#include "inspect/solid/data_block_copy.h"
#include "inspect/solid/deflated_copy.h"

namespace inspect {

/// The trailer of a compressed block: three values of 4 bytes, or of 8 with wide sizes, most significant byte
/// first whatever the file's byte order.
struct ChecksumTrailer {
  std::uint64_t plain_checksum = 0;   ///< Adler-32 of the expanded data
  std::uint64_t expanded_size = 0;    ///< in bytes
  std::uint64_t stored_checksum = 0;  ///< Adler-32 of the stored data
};

inline constexpr std::size_t kNarrowTrailerSize = 12;
inline constexpr std::size_t kWideTrailerSize = 24;

/// The values of a trailer of 12 bytes, or of 24 when it is wide.
ChecksumTrailer decode_checksum_trailer(const unsigned char* bytes, bool wide);

/// Reads the trailer, and the padding byte behind it, at the stream's position.
ChecksumTrailer read_checksum_trailer(InspectFile& file, const DataBlock& block);

/// True when the block of this entry must lack its trailer: only latent bodies were once stored so.
bool is_trailer_missing(InspectFile& file, const PartitionEntry& entry, const DataBlock& block);

/// Reports what differs between the trailer of a block and its data: problems when the block is extracted,
/// else results of the check. True when nothing does.
bool report_differences(const InspectFile& file, const DataBlockResult& result, CopyMode mode);

}  // namespace inspect
