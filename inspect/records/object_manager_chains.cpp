#include "inspect/records/object_manager_chains.h"

#include <vector>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_bounds.h"
#include "inspect/records/object_manager_label.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::uint8_t kListVlaType = 1;
constexpr std::int32_t kNewerChainsVersion = 10;
constexpr FieldLabel kChainLabel = "Entity type chain";

bool read_list_type(InspectFile& file, const FieldLabel& label) {
  std::uint8_t type = 0;
  file.reader.read(type, label);
  return type == kListVlaType;
}

std::int32_t read_element_count(InspectFile& file, const PartitionEntry& partition) {
  return file.reader.read_compact_int(partition.encoding, "number of elements");
}

/// How new entities of a class are shown: stepped over.
void read_creation_display_data(InspectFile& file, const PartitionEntry& partition) {
  if (!read_list_type(file, "VLA type for creation display data")) {
    inspect_error(file.reader, Rule::om_chains, "bad VLA header for creation_display_data");
  }
  const std::int32_t count = read_element_count(file, partition);
  for (std::int32_t i = 0; i < count; ++i) {
    file.reader.read_compact_short(partition.encoding, "sub object class id");
    file.reader.read_compact_int(partition.encoding, "color");
    file.reader.read_compact_int(partition.encoding, "line_font");
    file.reader.read_compact_int(partition.encoding, "width");
    file.reader.read_compact_short(partition.encoding, "type");
    file.reader.read_compact_short(partition.encoding, "subtype");
    std::uint8_t property = 0;
    file.reader.read(property, "property");
  }
}

/// The heads in the order of the types that follow them; their number is kept as stored.
struct ListedHeads {
  std::int32_t count = 0;
  std::vector<std::int32_t> heads = {};
};

ListedHeads read_listed_heads(InspectFile& file, const PartitionEntry& partition) {
  if (!read_list_type(file, "VLA type for entity type chains")) {
    inspect_error(file.reader, Rule::om_chains, "bad VLA header for entity_type_chains");
  }
  ListedHeads listed = {.count = read_element_count(file, partition)};
  // Not reserved: the count is a claim until its heads have been read.
  for (std::int32_t i = 0; i < listed.count; ++i) {
    check_om_limit(file, listed.heads.size(), limits::kChainHeads, "entity type chains");
    listed.heads.push_back(read_om_label(file, partition, kChainLabel));  // NOLINT(performance-*)
  }
  return listed;
}

void read_newer_layout(InspectFile& file, const PartitionEntry& partition, EntityTypeChains& heads) {
  const ListedHeads listed = read_listed_heads(file, partition);
  read_creation_display_data(file, partition);
  for (int i = 0; i < 3; ++i) read_om_label(file, partition, kChainLabel);
  if (!read_list_type(file, "VLA type for entity type chains")) {
    inspect_error(file.reader, Rule::om_chains, "bad VLA header for entity_types_present");
  }
  if (read_element_count(file, partition) != listed.count) {
    inspect_error(file.reader, Rule::om_chains, "mismatch in entity type handling for RM_part");
  }
  for (const std::int32_t head : listed.heads) {
    const std::int32_t type = file.reader.read_compact_int(partition.encoding, "entity type");
    if (type >= 0 && static_cast<std::size_t>(type) < heads.size())
      heads[static_cast<std::size_t>(type)] = head;
  }
}

}  // namespace

void read_entity_type_chains(InspectFile& file, const PartitionEntry& partition,
                             const ObjectManagerHeader& om, EntityTypeChains& heads) {
  heads.fill(kNullIndex);
  file.reader.read_compact_short(partition.encoding, "First version in RM_part");
  file.reader.read_compact_short(partition.encoding, "Second version in RM_part");
  if (om.version >= kNewerChainsVersion) {
    read_newer_layout(file, partition, heads);
  } else {
    for (std::int32_t& head : heads) head = read_om_label(file, partition, kChainLabel);
  }
}

}  // namespace inspect
