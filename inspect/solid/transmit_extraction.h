#pragma once

#include <cstdint>

#include "inspect/records/inspect_file.h"
#include "inspect/solid/solid_sink.h"

namespace inspect {

// All of these work on what the reading pass has kept in the entries. They raise through inspect_error, which
// ends the file's run.

/// What is extracted into which files. Without CopyMode::extract no file is opened: all is only checked.
struct ExtractionRequest {
  CopyMode mode = CopyMode::extract;
  std::string_view output_name = {};  ///< without extension; empty: named by the part file
};

/// Extracts the partition with this id and the chain of partitions that it links to. Returns the id of the
/// last one. That there is none is a problem of the file.
std::int32_t extract_partition(InspectFile& file, const ExtractionRequest& request, std::int32_t id,
                               SolidSink& sink);

/// Extracts every body, then every delta. False when not all is whole, or a check has found something.
bool extract_all_partitions(InspectFile& file, const ExtractionRequest& request, SolidSink& sink);

/// Checks one partition. False when anything was found.
bool check_partition(InspectFile& file, const PartitionEntry& entry, CopyMode mode, SolidSink& sink);

}  // namespace inspect
