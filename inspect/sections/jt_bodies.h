#pragma once

#include "inspect/records/inspect_file.h"
#include "inspect/sections/written_bodies.h"
#include "support/byte_source.h"

namespace inspect {

/// Prints the table of JT bodies of a stream ("JT" or "DisplayJT") and, under -extract_jt, writes each body
/// to a file of its own in the current directory. The stream, all integers little-endian:
///
///     4  version
///     4  number of bodies
///     4  number of BodyPartition objects; only when the version is above 7
///        for each body its id and the offset where it begins: 8 bytes each in version 9, else 4
///        the bodies, in the order of the table; the last one ends with the stream
///
/// What is wrong with single bodies or their files is reported and marks the file failed; the other bodies
/// are still written. `written` is that of the run; without it the table is listed only. Raises the stream's
/// own errors.
void list_jt_bodies(InspectFile& file, support::ByteSource& stream, const char* stream_name,
                    WrittenBodies* written = nullptr);

}  // namespace inspect
