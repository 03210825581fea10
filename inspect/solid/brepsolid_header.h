#pragma once

#include <cstdint>
#include <string>

#include "inspect/records/inspect_file.h"
#include "inspect/solid/solid_sink.h"

namespace inspect {

/// Decodes the bit header at the stream's position, and its extension. In the file's byte order:
///
///   0  u32  bit 31 compressed, bit 30 an extension follows, else the length of the header text; type 19
///           with bit 29: no extension, but
///           8  u64  length of the data
///   4  u32  length of the data
///   8  i32  body tag, u16 extension version; by version:
///      1    u8 flag, u8 flag, i32 linked partition
///      2    as 1, u8 (bit 0: reference), then i32 reference target, or i32 count and two arrays of i32
///      3    as 1, u8 reference kind, i32 count and array of i32, then as 2
///      4    u32 length of the second data block, then as 3
///      5    u64 length of the data, u64 length of the second data block, then as 3
///
/// The arrays are stepped over. Leaves the stream at the header text. Raises through inspect_error.
BrepsolidHeaderBits read_header_bits(InspectFile& file, std::int32_t type);

/// Bytes of the header text, by the first word of the bit header in the machine's byte order.
std::uint32_t header_text_size(std::int32_t type, std::uint32_t first_word);

/// The reading of one modeller partition, once per file: header bits, place of the data and, with a header
/// text of its own, this text and the truncation mark. Fills `entry.solid` and sets
/// `file.records.kernel_version`. Raises through inspect_error.
void read_brepsolid_partition(InspectFile& file, PartitionEntry& entry);

/// The rest of the reading for a partition without a header text of its own, once the file's lender is
/// settled: borrows the text, sets the truncation mark and `file.records.kernel_version`. Raises through
/// inspect_error.
void borrow_brepsolid_header(InspectFile& file, PartitionEntry& entry, SolidSink& sink);

/// The header text, own or borrowed, without its closing '+'. Moves the stream.
std::string read_header_text(InspectFile& file, const BrepsolidPartition& solid);

}  // namespace inspect
