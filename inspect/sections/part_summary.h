#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "inspect/records/inspect_file.h"
#include "inspect/sections/external_references.h"

namespace inspect {

class SectionSink;

/// A history word of the header: bit i names release i + 1.
struct OldHistory {
  enum class Kind : std::uint8_t { before_v10, outside };
  Kind kind;
  std::uint16_t releases;
};

/// Format, sizes, properties.
struct SummaryProperties {
  const PartRecords& part;
  std::optional<std::uint64_t> solid_offset;  ///< of the first partition of kind 2, in the part stream
};

/// The parts that the external reference table names as modules of this one.
struct PartModules {
  std::span<const std::string> main_parts;
  std::span<const std::string> linked_parts;
  bool part_module = false;
  bool intrapart_module = false;
};

/// Pattern, stamp, machine, texts of the header.
struct SummaryDetails {
  const PartRecords& part;
  std::string_view machine_name;  ///< of the object-manager data; only from version 15
};

/// The display stamp of a header of 12 words and more, in seconds since 1970.
inline std::int64_t display_stamp_seconds(const PartHeader& header) {
  return ((std::int64_t{header.stamp_days} - 3) * 14400 + header.stamp_ticks) * 6 + 28800;
}

/// Why current releases cannot retrieve a part; the first reason that holds.
enum class Retrieval : std::uint8_t { possible, pre_v10_layout, old_concept_data, obsolete_v10 };

/// The version from which the header describes a V10 part.
inline constexpr std::int32_t kFirstV10 = 15;

inline bool is_v10(const PartRecords& part) { return part.version >= kFirstV10; }

Retrieval retrieval_of(const PartRecords& part);

/// The modules that the external references of the part storage name; what cannot be read is reported.
PartModuleReferences find_part_modules(InspectFile& file);

/// The place of the first partition of kind 2 in the part stream.
std::optional<std::uint64_t> find_solid_offset(const PartRecords& part);

/// Reports what the header says that no sound one of its version does.
void report_header_oddities(const InspectFile& file);

struct SummaryRequest {
  bool filing_history = true;  ///< read the saves from the object-manager data
  bool display_jt = false;     ///< list the bodies of the DisplayJT stream too
};

/// Hands over the part file summary in its order: what the header says, the histories, the streams, the
/// directories. Trouble with a stream is reported and ends that stream alone.
void read_part_summary(InspectFile& file, const SummaryRequest& request, SectionSink& sink);

}  // namespace inspect
