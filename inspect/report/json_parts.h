#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "inspect/records/object_manager_partition.h"
#include "inspect/report/json_writer.h"
#include "inspect/sections/filing_history.h"
#include "inspect/sections/part_facts.h"
#include "inspect/sections/release.h"

/// The members of a part's document, one function each. All write a value behind a key that has been written,
/// or whole members of the object that is open.
namespace inspect {

/// How many rows of lists a document may still take. A list that it cuts has a member "..._left_out" behind
/// it.
class RowBudget {
 public:
  explicit RowBudget(std::uint64_t rows = UINT64_MAX) : left_(rows) {}

  bool take() {
    if (left_ == 0) return false;
    --left_;
    return true;
  }

 private:
  std::uint64_t left_;
};

void write_release(JsonWriter& json, const ReleaseSection& release);
void write_header(JsonWriter& json, const HeaderSection& header);

/// The members of "container" but its storages.
void write_container_members(JsonWriter& json, const VRX::System::CFI::ContainerFacts& facts);
void write_storage(JsonWriter& json, const StorageRow& storage);
void write_stream(JsonWriter& json, const StreamRow& stream);

/// The members of a partition but what it holds.
void write_partition_members(JsonWriter& json, const PartitionRow& row);

/// Member "where" of the data of a partition, which may begin behind the partition's own offset.
void write_data_place(JsonWriter& json, const PartitionRow& row, std::uint64_t stream_offset,
                      std::optional<std::uint64_t> length);

/// The members of "solid" but its place; without the header text when that is told no longer.
void write_solid_members(JsonWriter& json, const SolidSection& solid, bool with_text);

/// The members of "object_manager", by the steps in which they become known.
void write_om_identity(JsonWriter& json, const PartitionEntry& partition, const ObjectManagerPartition& om);
void write_om_counts(JsonWriter& json, const ObjectManagerPartition& om);
void write_om_classes(JsonWriter& json, const PartitionEntry& partition, const ObjectManagerPartition& om,
                      RowBudget& rows);
void write_om_root(JsonWriter& json, const PartitionEntry& partition, const ObjectManagerPartition& om);
void write_audit_trail(JsonWriter& json, const PartitionEntry& partition, const ObjectManagerPartition& om,
                       RowBudget& rows);
void write_entity_chains(JsonWriter& json, const EntityTypeChains& heads, Encoding encoding);
void write_old_entity_chains(JsonWriter& json, std::span<const std::int16_t> words);

/// The saves of one record manager, as elements of an array; gives the number of those left out.
std::uint64_t write_saves(JsonWriter& json, const FilingHistory& history, RowBudget& rows);

}  // namespace inspect
