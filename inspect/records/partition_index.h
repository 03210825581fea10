#pragma once

#include <array>
#include <cstdint>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// The bytes in front of each partition of a file with markers.
inline constexpr std::array<std::uint8_t, 4> kPartitionMarker = {0xC0, 0xD1, 0xF1, 0xED};

/// Reads the partition index of a file with markers at the stream's position: format (1 or 2), number of
/// partitions, next partition id (ints), then for each partition id, type, offset (int in format 1, int64 in
/// format 2) and data word. Appends the entries to `file.records.partitions`. Raises through inspect_error.
void read_partition_index(InspectFile& file);

/// Makes the entry of the first directory of a file without markers, at the stream's position. Directories
/// that follow are found by check_partition_start as it comes to them.
void start_directory_chain(InspectFile& file);

/// Checks the start of a partition: its marker, or in older files its directory header, which may append the
/// next directory to `file.records.partitions`. True when the partition is to be skipped.
bool check_partition_start(InspectFile& file, PartitionEntry& partition);

/// Reads one directory header of an older file: a count K (1 to 16) and K words.
void read_partition_header(InspectFile& file, PartitionEntry& partition);

/// The check of the data word by partition type; keeps the count of empty directories and the pattern mode.
void check_partition_data(InspectFile& file, PartitionEntry& partition);

}  // namespace inspect
