#pragma once

#include <string>
#include <vector>

#include "support/byte_source.h"

/// Listings over the ExternalReferences streams of the part storage and of the fast-load storage. The table
/// in them has no known layout: what is listed are the printable texts found in it. A stream that the part
/// does not have is a null pointer. All raise what the streams raise.
namespace inspect {

/// Every text of both streams, one a line, each stream under its heading.
void print_external_references(support::ByteSource* part_stream, support::ByteSource* fast_load_stream);

enum class ReferenceListing {
  most_recent,  ///< each referenced part once, where it is named last
  all,          ///< each time it is named
};

/// The texts that name a ".prt" file, those of the part storage first.
void print_referenced_parts(support::ByteSource* part_stream, support::ByteSource* fast_load_stream,
                            ReferenceListing listing);

/// The parts that the table names as modules of this one, in its order.
struct PartModuleReferences {
  std::vector<std::string> main_parts;
  std::vector<std::string> linked_parts;
};

/// Entries of the two part module types: a text that holds the type's name is an entry, and the next text, if
/// it is no such entry itself, is the name of the referenced file ("Unknown" when there is none). The first
/// 10,000 entries count, and the first 1024 bytes of a name.
PartModuleReferences find_part_modules(support::ByteSource& stream);

}  // namespace inspect
