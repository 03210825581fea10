#pragma once

#include <cstdint>
#include <span>

#include "inspect/records/object_manager_partition.h"
#include "support/console.h"

namespace inspect {

/// The chains of a record manager that are not empty, by entity type. In a compact partition a head may tell
/// no more than that the chain has one.
void print_entity_type_chains(support::Console& console, const EntityTypeChains& heads, Encoding encoding);

/// The same from the entity chain header of files below version 15: word n, behind the chain identifier, is
/// the block of 512 bytes where the chain of type n begins; 0 for an empty chain.
void print_old_entity_chains(support::Console& console, std::span<const std::int16_t> words);

}  // namespace inspect
