#pragma once

#include <cstdint>
#include <span>

#include "inspect/records/inspect_file.h"
#include "inspect/records/object_manager_partition.h"

namespace inspect {

class SectionSink;

/// Where the data of an object-manager partition lie in the part stream, in bytes.
struct ObjectManagerStart {
  std::uint64_t start;   ///< first byte behind the length field
  std::uint64_t length;  ///< as stored: the bytes behind the length field, a checksum included
};

/// The heads of the entity type chains of a record manager. In a compact partition a head is only known to
/// be there or not.
struct EntityChains {
  const EntityTypeChains& heads;
  Encoding encoding;
};

/// How much of an object-manager partition is read.
struct PartitionReading {
  bool cookies = false;  ///< keep the cookies of the saves
  bool chains = true;    ///< read the entity type chains of a record manager, which nothing else needs
};

/// Reads an object-manager partition, or a directory below version 15 that may hold anything, and hands over
/// each step as it has been read. Its shared strings stay in the entry. Raises through inspect_error.
void read_listed_partition(InspectFile& file, PartitionEntry& partition, const PartitionReading& reading,
                           SectionSink& sink);

/// Reads the header text of a modeller partition that the reading pass has decoded, and hands both over.
void read_listed_brepsolid(InspectFile& file, const PartitionEntry& partition, SectionSink& sink);

}  // namespace inspect
