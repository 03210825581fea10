#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cfi/storage_file.h"
#include "inspect/records/brepsolid_header_bits.h"
#include "inspect/records/id_set.h"
#include "inspect/records/inspect_options.h"
#include "inspect/records/part_header.h"
#include "inspect/records/partition_kinds.h"
#include "inspect/records/shared_strings.h"
#include "support/byte_source.h"
#include "support/output_file.h"
#include "support/printable.h"

namespace inspect {

/// The units that a part can have: 1 metric, 2 inches, 4 meters, 5 micrometers.
constexpr bool is_part_units(std::int32_t units) {
  return units == 1 || units == 2 || units == 4 || units == 5;
}

/// A position from two header words: a block of 512 bytes and a byte in it below version 15, else one number.
constexpr std::uint32_t combine_position(std::int16_t version, std::uint16_t first, std::uint16_t second) {
  return version < 15 ? std::uint32_t{first} * 512 + second : std::uint32_t{first} << 16U | second;
}

/// One partition of the part stream. Offsets and positions are in bytes from the start of the stream. A part
/// may have very many partitions: what is read of one while it is printed is kept elsewhere or given back.
struct PartitionEntry {
  std::uint32_t number = 0;  ///< its place in the file's list, from 0
  std::int32_t id = 0;
  std::int32_t type = kUnknownPartition;
  std::int32_t data = 0;     ///< the data word; also the tag field of modeller partitions
  std::uint64_t offset = 0;  ///< as listed: in older files that of the directory header
  std::uint64_t base = 0;    ///< where the data begin; object positions count from here
  bool data_zero = false;    ///< the "secondary flag": an empty directory
  bool bad = false;          ///< offset out of bounds or marker missing: to be skipped
  bool truncated = false;    ///< modeller data reach beyond the end of the stream
  bool done = false;         ///< its listing is complete

  // Object-manager layout, set when its header is read.
  bool wide_positions = false;
  bool compact = false;
  std::uint8_t om_file_length_byte_size = 4;  ///< 4 or 12
  std::uint64_t object_table_offset = 0;
  SharedStrings shared_strings;

  /// Modeller partitions only: the header as decoded in the reading pass.
  std::unique_ptr<BrepsolidPartition> solid;
};

/// True for the partitions that hold Brepsolid data; the old type only when it is not an empty directory.
inline bool holds_modeller_data(const PartitionEntry& entry) {
  return is_in_set(entry.type, kModellerSet) || (is_in_set(entry.type, kOldModellerSet) && !entry.data_zero);
}

/// The reader context of one part file.
struct InspectFile {
  static constexpr std::int32_t kReleaseNotRead = -939;

  InspectFile(const InspectOptions& the_options, std::string file_name)
      : options(the_options), name(std::move(file_name)), shown_name(support::printable(name)) {}

  /// Bytes that the part stream really has: limits are derived from it, not from a listed length.
  std::uint64_t bytes_there() const {
    return stream ? std::min(file_length, stream->available()) : file_length;
  }

  /// The same of the file on disk, which a framed part stream may exceed many times over.
  std::uint64_t stored_bytes() const { return disk_length != 0 ? disk_length : bytes_there(); }

  const InspectOptions& options;
  std::string name;                ///< as given on the command line
  std::string shown_name;          ///< the same, fit for a terminal
  bool failed = false;             ///< the file's status is 1
  bool escape_on_failure = false;  ///< inspect_fatal throws instead of ending the process
  bool problems_found = false;     ///< something was reported that a scan must not call clean
  bool certain_corruption = false;
  bool probable_corruption = false;  ///< the file is suspect
  bool wants_scan = false;           ///< the readers ask for the corruption scan
  support::FileIdentity identity;    ///< of the part file itself: no output may be it

  std::unique_ptr<support::ByteSource> stream;         ///< the part stream; null until opened
  std::uint64_t file_length = 0;                       ///< of the part stream, as listed
  std::uint64_t disk_length = 0;                       ///< of the file on disk; 0 when unknown
  VRX::System::CFI::StorageFile* container = nullptr;  ///< null for a flat file
  bool swap_bytes = false;                             ///< the file's byte order is not the machine's
  bool has_markers = false;                            ///< 4-byte markers before partitions, and an index
  bool rm_layout = false;                              ///< newer layout of the entity type chains

  PartHeader header;
  std::int32_t release = kReleaseNotRead;  ///< V once the header is read

  std::vector<std::int16_t> entity_chain_words;  ///< V below 15: the entity chain header
  IdSet directory_offsets;                       ///< of the directories read so far, without markers
  std::deque<PartitionEntry> partitions;         ///< index order; entries never move
  std::set<std::uint64_t> partition_starts;      ///< offsets of the first `known_starts` of them
  std::size_t known_starts = 0;
  std::optional<std::int32_t> next_partition_id;
  std::int32_t empty_directories = 0;  ///< partitions whose data-zero flag is set
  std::optional<std::int32_t> pattern_mode;
  std::int32_t units = 0;      ///< of the header, else of the older record manager; 0 not recorded
  std::string kernel_version;  ///< of the last modeller partition read; empty before, or "Unknown"
  std::optional<std::size_t> version_source;     ///< number of the partition that kernel_version is from
  std::size_t lender_search_start = 0;           ///< no partition before it can lend a Brepsolid header
  std::uint64_t checked_bytes = 0;               ///< partition bytes that checks and extractions have read
  std::uint64_t inflated_bytes = 0;              ///< expanded in the pass over the partitions that goes on
  std::uint64_t object_bytes = 0;                ///< the same of object-manager partitions; see ObjectReading
  std::uint64_t field_bytes = 0;                 ///< bytes of all fields read so far
  std::uint64_t field_limit = UINT64_MAX;        ///< of field_bytes
  std::uint64_t traced_fields = 0;               ///< trace lines that name a field
  std::uint64_t object_fields = 0;               ///< the same of object-manager partitions
  std::uint64_t traced_limit = UINT64_MAX;       ///< of traced_fields
  std::size_t partition_memory = 0;              ///< bytes that the partitions take once all are read
  std::map<std::int32_t, std::int32_t> sources;  ///< partition id to source partition id, for output names
  bool development_warnings = false;             ///< those of VRII_DISPLAY_DEBUG
  bool has_om_checksums = false;                 ///< some object-manager partition carries a checksum
  bool quiet = false;                            ///< see QuietErrors
};

}  // namespace inspect
