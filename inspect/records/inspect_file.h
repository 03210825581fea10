#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "cfi/storage_file.h"
#include "inspect/records/id_set.h"
#include "inspect/records/object_manager_headers.h"
#include "inspect/records/part_records.h"
#include "inspect/records/record_reader.h"
#include "support/byte_source.h"
#include "support/console.h"
#include "support/findings.h"
#include "support/output_file.h"

namespace inspect {

/// How much of one part has been read for whom: hostile positions lead anywhere, and lists may share bytes.
struct ReadingBudgets {
  std::uint64_t checked_bytes = 0;   ///< partition bytes that checks and extractions have read
  std::uint64_t inflated_bytes = 0;  ///< expanded in the pass over the partitions that goes on
  std::uint64_t object_bytes = 0;    ///< read of object-manager partitions; see ObjectReadBudget
  std::uint64_t object_fields = 0;   ///< lines of the trace that name a field of them
};

/// One part file while it is inspected: its open streams, the reader of its records, and what they told.
struct InspectFile {
  /// The sink and the trace (null for none) outlive the file.
  InspectFile(std::string file_name, support::FindingSink& findings, Trace* trace = nullptr)
      : name(std::move(file_name)), reader(findings, trace) {}

  /// The part stream, from now on read by `reader`; `stream_name` is its path below the root storage.
  void attach(std::unique_ptr<support::ByteSource> part_stream, std::string_view stream_name) {
    stream = std::move(part_stream);
    records.length = stream->size();
    reader.attach(*stream, stream_name);
  }

  /// The part stream and its partitions are no longer wanted.
  void detach() {
    reader.detach();
    stream.reset();
    records.partitions.clear();
  }

  /// Bytes that the part stream really has: limits are derived from it, not from a listed length.
  std::uint64_t bytes_there() const {
    return stream ? std::min(records.length, stream->available()) : records.length;
  }

  /// The same of the file on disk, which a framed part stream may exceed many times over.
  std::uint64_t stored_bytes() const { return disk_length != 0 ? disk_length : bytes_there(); }

  std::string name;                                    ///< as given on the command line
  support::FileIdentity identity;                      ///< of the part file itself: no output may be it
  support::Console* console = nullptr;                 ///< for progress and unfinished outputs; null for none
  std::uint64_t disk_length = 0;                       ///< bytes of the file on disk; 0 when unknown
  VRX::System::CFI::StorageFile* container = nullptr;  ///< null for a flat file
  std::unique_ptr<support::ByteSource> stream;         ///< the part stream; null until opened

  RecordReader reader;
  PartRecords records;
  ReadingBudgets budgets;
  ObjectManagerHeaders om_headers;

  IdSet directory_offsets;                   ///< of the directories read so far, without markers
  std::set<std::uint64_t> partition_starts;  ///< offsets of the first `known_starts` partitions
  std::size_t known_starts = 0;
  std::optional<std::size_t> version_source;     ///< number of the partition that the kernel version is from
  std::size_t lender_search_start = 0;           ///< no partition before it can lend a Brepsolid header
  std::size_t partition_memory = 0;              ///< bytes that the partitions take once all are read
  std::map<std::int32_t, std::int32_t> sources;  ///< partition id to source partition id, for output names
  bool steps_over_damage = false;     ///< damage behind which fields keep their places ends nothing
  bool development_warnings = false;  ///< those of VRII_DISPLAY_DEBUG
};

}  // namespace inspect
