#pragma once

#include "inspect/solid/solid_sink.h"

/// The texts of modeller partitions: their listing, their check, their extraction.
namespace inspect {

void print_brepsolid_directory(const BrepsolidSection& section);
void print_skipped_reference(const ReferencePartition& reference);

/// What differs between the data of a checked block and its trailer; nothing when they agree.
void print_checked_block(const DataBlockResult& block);
void print_extraction(const ExtractedBlock& block);

}  // namespace inspect
