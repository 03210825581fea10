#pragma once

#include "inspect/records/inspect_file.h"
#include "inspect/records/object_manager_partition.h"

/// The header of an object-manager partition, read in steps so that a listing can show each before the next
/// one fails:
///   length          int; -1 when an int64 with the length follows
///   intro           7 bytes: 'O', 'M', machine information
///   header          4 ints: version number, filing mode, save time, machine name length (0 to 64)
///   machine name, file name length (int, 0 to 1024), file name, number of objects (int)
///   labels          2 ints: saving object, root object
///   class count     int, 0 to 9998
///   references      version 4 and above: ints and two positions
namespace inspect {

/// Moves to the partition and reads the length; sets `partition.om_file_length_byte_size`.
void read_om_length(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om);

/// False when a CMOD partition is not in OM format; for any other kind that is inspect_error.
bool read_om_intro(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om);

/// Header ints to number of objects; sets `encoding` and `wide_positions` of the partition.
void read_om_identity(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om);

/// Labels, class count and references.
void read_om_counts(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om);

/// True when the bytes at the partition's base look like a length and an intro, of which either letter
/// suffices: for directories of older files, which need not hold object-manager data. Reads nothing that is
/// traced.
bool begins_with_om_intro(InspectFile& file, const PartitionEntry& partition);

}  // namespace inspect
