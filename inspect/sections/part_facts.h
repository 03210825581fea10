#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/container_facts.h"
#include "cfi/element.h"
#include "inspect/sections/external_references.h"
#include "inspect/sections/part_claims.h"
#include "inspect/sections/part_summary.h"

namespace inspect {

/// What is known of a file before it is opened as a part. Lengths are in bytes, times in seconds since 1970.
struct FileFacts {
  std::string name;  ///< as given
  std::optional<std::uint64_t> size;
  std::optional<std::int64_t> modified;
  std::string sha256;  ///< 64 hexadecimal digits; empty when it was not asked for
};

/// What the maker's format says of the part that is loaded first.
struct FastLoadFacts {
  std::optional<std::int32_t> version;  ///< of the partition, from the header copy; none without one
  std::optional<std::int64_t> end;      ///< of its streams in the file; none in other containers
};

/// One storage of a container.
struct StorageRow {
  std::string_view path;                             ///< below the root storage, which has an empty one
  std::optional<VRX::System::CFI::IndexArea> index;  ///< in the maker's format
  VRX::System::CFI::ClassId class_id;
};

/// One stream of a container.
struct StreamRow {
  std::string_view path;
  std::optional<VRX::System::CFI::IndexArea> index;
  std::optional<std::uint64_t> file_offset;  ///< of its first byte
  std::uint64_t length = 0;                  ///< in bytes, as stored
  bool framed = false;
  std::optional<std::uint64_t> expanded_length;  ///< of a framed stream that expands whole
  bool beyond_end_of_file = false;
};

/// What the part header says, with what is known of the part only from its records.
struct HeaderSection {
  const PartRecords& part;
  std::string_view machine_name;
  std::optional<std::uint64_t> solid_offset;  ///< see SummaryProperties
  const PartModuleReferences& modules;
  Retrieval retrieval = Retrieval::possible;
};

/// One partition and where it lies.
struct PartitionRow {
  const PartitionEntry& partition;
  bool has_marker = false;  ///< files with an index have one in front of each partition
  std::string_view stream;  ///< path of the part stream; empty in a flat file
  std::function<std::optional<std::uint64_t>(std::uint64_t)> file_offset;  ///< of a position in the stream
  std::uint64_t length = 0;  ///< from the partition's offset, as far as its layout is known
  const ObjectManagerChecksum* checksum = nullptr;  ///< of object-manager data that carry one
};

/// How the solid of a partition can be got out.
struct SolidExtract {
  bool possible = false;      ///< false for a reference and for data that are cut
  std::optional<bool> sound;  ///< nothing was found; none when it cannot be told
  std::string suffix;         ///< of the transmit file, ".x_b"
  std::string_view format;    ///< "binary", "text"; empty when it is unknown
};

/// A modeller partition with its header text and its checks.
struct SolidSection {
  const PartitionEntry& partition;
  std::string_view header_text;  ///< own or borrowed
  std::string kernel_version;    ///< of this text; empty when it names none
  std::span<const CheckedBlock> blocks;
  SolidExtract extract;
};

}  // namespace inspect
