#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/byte_source.h"

/// Listings over the ExternalReferences streams of the part storage and of the fast-load storage. The table
/// in them has no known layout: what is listed are the printable texts found in it. A stream that the part
/// does not have is a null pointer. All raise what the streams raise.
namespace inspect {

class SectionSink;

/// The lists of texts that the streams give.
enum class ReferenceList : std::uint8_t {
  part_storage,       ///< every text of the stream of the part storage
  fast_load_storage,  ///< the same of the fast-load storage
  most_recent,        ///< each referenced part once, where it is named last
  all,                ///< each time it is named
};

/// True when the text names a ".prt" file.
bool names_part(std::string_view text);

/// Hands over every text of both streams, each stream as a list of its own.
void read_external_references(support::ByteSource* part_stream, support::ByteSource* fast_load_stream,
                              SectionSink& sink);

/// Hands over the texts that name a ".prt" file, those of the part storage first; `list` is most_recent or
/// all.
void read_referenced_parts(support::ByteSource* part_stream, support::ByteSource* fast_load_stream,
                           ReferenceList list, SectionSink& sink);

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
