#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// Reads and checks the part header at the start of the stream, and the entity chain header behind it when
/// V is below 15. Decides the byte order of the file, fills `file.records.header`, `file.records.version` and
/// `file.records.has_markers`, and leaves the stream where the partitions start.
/// `header_copy`: the bytes of the copy that a container keeps, count word first; empty when there is none.
/// It is used when the stream does not begin with a valid count in either byte order. Raises through
/// inspect_error.
void read_part_header(InspectFile& file, std::span<const std::byte> header_copy = {});

/// Trace dump: ten signed words a line.
void print_header_words(Trace& trace, std::span<const std::int16_t> words);

/// The same when the reader traces.
void trace_words(const RecordReader& reader, std::span<const std::int16_t> words);

}  // namespace inspect
