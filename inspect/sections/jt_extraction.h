#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"
#include "inspect/sections/jt_table.h"
#include "inspect/sections/written_bodies.h"
#include "support/byte_source.h"

namespace inspect {

/// A stream of JT bodies, sizes in bytes.
struct JtStream {
  support::ByteSource& source;
  const char* name = nullptr;   ///< "JT" or "DisplayJT"
  std::uint64_t size = 0;       ///< as listed: where the last body ends
  std::uint64_t available = 0;  ///< what is really there, at most
};

/// Writes each body of the table to its file. What is wrong with single bodies or their files is reported and
/// marks the file failed; the others are still written.
void extract_jt_bodies(InspectFile& file, const JtStream& stream, JtTable& table, WrittenBodies& written);

}  // namespace inspect
