#pragma once

#include <cstdint>
#include <string_view>

#include "inspect/records/inspect_file.h"
#include "inspect/sections/written_bodies.h"
#include "support/byte_source.h"

namespace inspect {

class SectionSink;

/// The head of a JT stream.
struct JtHead {
  std::string_view stream_name;  ///< "JT" or "DisplayJT"
  std::int32_t version = 0;
  std::uint32_t body_count = 0;
  std::uint32_t body_partition_count = 0;
};

/// A row of its table. Offsets are in bytes from the start of the (expanded) stream, as the table claims.
struct JtBody {
  std::uint64_t id = 0;
  std::uint64_t offset = 0;
};

/// Hands over the table of JT bodies of a stream ("JT" or "DisplayJT") and, with `written`, writes each body
/// to a file of its own in the current directory. The stream, all integers little-endian:
///
///     4  version
///     4  number of bodies
///     4  number of BodyPartition objects; only when the version is above 7
///        for each body its id and the offset where it begins: 8 bytes each in version 9, else 4
///        the bodies, in the order of the table; the last one ends with the stream
///
/// What is wrong with single bodies or their files is reported; the other bodies are still written.
/// `written` is that of the run. Raises the stream's own errors.
void read_jt_bodies(InspectFile& file, support::ByteSource& stream, const char* stream_name,
                    SectionSink& sink, WrittenBodies* written = nullptr);

}  // namespace inspect
