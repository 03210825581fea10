#pragma once

#include "inspect/solid/solid_sink.h"
#include "support/console.h"

/// The texts of modeller partitions: their listing, their check, their extraction.
namespace inspect {

void print_brepsolid_directory(support::Console& console, const BrepsolidSection& section);
void print_skipped_reference(support::Console& console, const ReferencePartition& reference);

/// What differs between the data of a checked block and its trailer; nothing when they agree.
void print_checked_block(support::Console& console, const DataBlockResult& block);
void print_extraction(support::Console& console, const ExtractedBlock& block);

}  // namespace inspect
