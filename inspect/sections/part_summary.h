#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "inspect/records/inspect_file.h"

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

/// Why current releases cannot retrieve a part; the first reason that holds.
enum class Retrieval : std::uint8_t { possible, pre_v10_layout, old_concept_data, obsolete_v10 };

/// The version from which the header describes a V10 part.
inline constexpr std::int32_t kFirstV10 = 15;

inline bool is_v10(const PartRecords& part) { return part.version >= kFirstV10; }

struct SummaryRequest {
  bool filing_history = true;  ///< read the saves from the object-manager data
  bool display_jt = false;     ///< list the bodies of the DisplayJT stream too
};

/// Hands over the part file summary in its order: what the header says, the histories, the streams, the
/// directories. Trouble with a stream is reported and ends that stream alone.
void read_part_summary(InspectFile& file, const SummaryRequest& request, SectionSink& sink);

}  // namespace inspect
