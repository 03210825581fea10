#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "inspect/records/partition_entry.h"
#include "inspect/records/record_reader.h"

/// What object-manager data is made of beyond numbers: strings, labels, and objects at places that a table
/// tells.
namespace inspect {

enum class StringTyping { plain, vla_typed };

/// One object-manager string; no value for kind 0 and for a shared string without text.
///   kind    u8, when VLA-typed: 0 absent, 3 text, 5 shared; else it is 3
///   3       compact int with the number of characters (0 to 32000), then the characters
///   5       compact int with the index of a shared string
/// Anything else is the finding om.string.
std::optional<std::string> read_om_string(RecordReader& reader, StringTyping typing,
                                          const PartitionEntry& partition, const FieldLabel& label);

/// An object-manager string as it stands: its own text, the index of a shared string, or neither.
struct OmStringField {
  std::optional<std::string> own_text;
  std::optional<std::size_t> shared_index;  ///< below the number of the partition's shared strings
};

OmStringField read_om_string_field(RecordReader& reader, const PartitionEntry& partition,
                                   const FieldLabel& label);

/// `offset` bytes behind `base`; a sum that 64 bits cannot hold is the last position, where no file reaches,
/// instead of wrapping into one.
constexpr std::uint64_t position_behind(std::uint64_t base, std::uint64_t offset) {
  return offset > UINT64_MAX - base ? UINT64_MAX : base + offset;
}

/// Moves to the first byte behind the length of object `object_index`, as the object table tells.
void seek_object(RecordReader& reader, const PartitionEntry& partition, std::int32_t object_index);

}  // namespace inspect
