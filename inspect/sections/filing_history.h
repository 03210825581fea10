#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <string_view>
#include <vector>

#include "inspect/records/inspect_file.h"
#include "inspect/records/object_manager_partition.h"

namespace inspect {

class SectionSink;

/// The saves of a trail, oldest first. Which end of the chains is the older one has changed, and clocks err.
/// The trail outlives this object.
class OrderedSaves {
 public:
  explicit OrderedSaves(const AuditTrail& audit);

  std::size_t size() const { return saves_.size(); }

  /// Calls `visit(object, entry)` for each save, with the program version that it belongs to.
  template <typename Visit>
  void visit(Visit visit) const {
    for (const Save& save : saves_) {
      const std::uint32_t number = newest_first_ ? last_number() - save.rank : save.rank;
      const auto next = std::ranges::upper_bound(first_numbers_, number);
      const auto place = static_cast<std::size_t>(next - first_numbers_.begin()) - 1;
      const AuditObject& object = audit_.objects[place];
      visit(object, audit_.entries[object.first_entry + (number - first_numbers_[place])]);
    }
  }

 private:
  /// A trail may have a million saves: kept small.
  struct Save {
    std::int32_t time;   ///< a pseudo entry goes with the save before it
    std::uint32_t rank;  ///< orders saves of one time
    auto operator<=>(const Save&) const = default;
  };

  std::uint32_t last_number() const { return static_cast<std::uint32_t>(saves_.size() - 1); }

  const AuditTrail& audit_;
  std::vector<std::uint32_t> first_numbers_;  ///< of each object's saves, counted along the chains
  std::vector<Save> saves_;
  bool newest_first_ = false;  ///< along the chains
};

/// All saves that one record manager knows.
struct FilingHistory {
  const PartitionEntry& partition;
  const ObjectManagerPartition& om;
  const OrderedSaves& saves;
};

/// A record manager whose saves cannot be read; the history ends with it.
struct UnreadableHistory {
  const PartitionEntry& partition;
  std::string_view reason;  ///< without a closing line end
};

/// Hands over the filing history of each record manager. Damage ends the history and nothing else.
void read_filing_history(InspectFile& file, SectionSink& sink);

}  // namespace inspect
