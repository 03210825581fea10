#pragma once

#include "inspect/records/inspect_file.h"
#include "inspect/records/object_manager_partition.h"

/// Shared strings, root object and audit trail of an object-manager partition.
///
/// The trail is two nested chains. An audit object holds its program version, then the next object, then its
/// own entries; an entry holds its user name, then the next entry, then the rest of itself:
///   object   link, program version (string), next object, entry chain
///   entry    link, user name (string), next entry, save time (compact int), magic cookie and maximum object
///            id (compact ints, version 5 and above), version number and machine type (compact shorts)
/// A link is a class index (compact short; -1 ends the chain) with the object inline, or below version 5 a
/// label (int; -1 ends the chain): the object is reached through the object table, and reading goes on behind
/// the label afterwards. Both chains are read with a loop: their length costs memory, never stack.
namespace inspect {

/// Reads the shared string table into `partition.shared_strings`, the root object's name and the audit trail.
/// Nothing when the partition has no root object. Leaves the stream behind the trail.
void read_shared_strings_and_root(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om);

/// Reads the chain of audit objects at the stream's position, their entries included, into `om.audit`.
void read_audit_object(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om);

}  // namespace inspect
