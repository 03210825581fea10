#include "inspect/records/object_manager_chains.h"

#include <vector>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_label.h"
#include "inspect/records/object_manager_limits.h"
#include "inspect/records/traced_readers.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::uint8_t kListVlaType = 1;
constexpr const char* kChainLabel = "Entity type chain";

bool read_list_type(bool trace, InspectFile& file, const char* label) {
  std::uint8_t type = 0;
  read_bytes(trace, file, 1, &type, "%s", label);
  return type == kListVlaType;
}

std::int32_t read_element_count(bool trace, InspectFile& file, const PartitionEntry& partition) {
  return read_compact_int(trace, file, partition, "number of elements");
}

/// How new entities of a class are shown: stepped over.
void read_creation_display_data(bool trace, InspectFile& file, const PartitionEntry& partition) {
  if (!read_list_type(trace, file, "VLA type for creation display data")) {
    inspect_error(file, "bad VLA header for creation_display_data");
  }
  const std::int32_t count = read_element_count(trace, file, partition);
  for (std::int32_t i = 0; i < count; ++i) {
    read_compact_short(trace, file, partition, "sub object class id");
    for (const char* label : {"color", "line_font", "width"}) {
      read_compact_int(trace, file, partition, "%s", label);
    }
    for (const char* label : {"type", "subtype"}) read_compact_short(trace, file, partition, "%s", label);
    std::uint8_t property = 0;
    read_bytes(trace, file, 1, &property, "property");
  }
}

/// The heads in the order of the types that follow them; their number is kept as stored.
struct ListedHeads {
  std::int32_t count = 0;
  std::vector<std::int32_t> heads = {};
};

ListedHeads read_listed_heads(bool trace, InspectFile& file, const PartitionEntry& partition) {
  if (!read_list_type(trace, file, "VLA type for entity type chains")) {
    inspect_error(file, "bad VLA header for entity_type_chains");
  }
  ListedHeads listed = {.count = read_element_count(trace, file, partition)};
  // Not reserved: the count is a claim until its heads have been read.
  for (std::int32_t i = 0; i < listed.count; ++i) {
    check_om_limit(file, listed.heads.size(), limits::kChainHeads, "entity type chains");
    listed.heads.push_back(read_om_label(trace, file, partition, kChainLabel));  // NOLINT(performance-*)
  }
  return listed;
}

void read_newer_layout(bool trace, InspectFile& file, const PartitionEntry& partition,
                       EntityTypeChains& heads) {
  const ListedHeads listed = read_listed_heads(trace, file, partition);
  read_creation_display_data(trace, file, partition);
  for (int i = 0; i < 3; ++i) read_om_label(trace, file, partition, kChainLabel);
  if (!read_list_type(trace, file, "VLA type for entity type chains")) {
    inspect_error(file, "bad VLA header for entity_types_present");
  }
  if (read_element_count(trace, file, partition) != listed.count) {
    inspect_error(file, "mismatch in entity type handling for RM_part");
  }
  for (const std::int32_t head : listed.heads) {
    const std::int32_t type = read_compact_int(trace, file, partition, "entity type");
    if (type >= 0 && static_cast<std::size_t>(type) < heads.size())
      heads[static_cast<std::size_t>(type)] = head;
  }
}

}  // namespace

void read_entity_type_chains(bool trace, InspectFile& file, const PartitionEntry& partition,
                             EntityTypeChains& heads) {
  heads.fill(kNullIndex);
  read_compact_short(trace, file, partition, "First version in RM_part");
  read_compact_short(trace, file, partition, "Second version in RM_part");
  if (file.rm_layout) {
    read_newer_layout(trace, file, partition, heads);
  } else {
    for (std::int32_t& head : heads) head = read_om_label(trace, file, partition, kChainLabel);
  }
}

}  // namespace inspect
