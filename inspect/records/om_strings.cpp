#include "inspect/records/om_strings.h"

#include <utility>

#include "inspect/records/inspect_errors.h"
#include "support/assertion.h"
#include "support/limits.h"

namespace inspect {

namespace {

std::string read_own_string(RecordReader& reader, const PartitionEntry& partition) {
  const std::int32_t count = reader.read_compact_int(partition.encoding, "Num chars in OM string");
  if (count < 0 || count > limits::kObjectStringCharacters) {
    inspect_error(reader, Rule::om_string, "Bad value %d for length of string", count);
  }
  std::string text(static_cast<std::size_t>(count), '\0');
  reader.read(std::span(text), "Contents of OM string");
  return text;
}

std::size_t read_shared_index(RecordReader& reader, const PartitionEntry& partition) {
  const std::int32_t index = reader.read_compact_int(partition.encoding, "string ref");
  if (index < 0 || static_cast<std::size_t>(index) >= partition.shared_strings.size()) {
    inspect_error(reader, Rule::om_string, "Bad shared string table index: %d", index);
  }
  return static_cast<std::size_t>(index);
}

OmStringField read_field(RecordReader& reader, StringTyping typing, const PartitionEntry& partition,
                         const FieldLabel& label) {
  reader.begin_composed(label, "OM string", ")\n");
  std::uint8_t kind = 3;
  if (typing == StringTyping::vla_typed) {
    reader.read(kind, "VLA type for OM strings - should be 0, 3 or 5");
  }
  switch (kind) {
    case 0:
      return {};
    case 3:
      return {read_own_string(reader, partition), std::nullopt};
    case 5:
      return {std::nullopt, read_shared_index(reader, partition)};
    default:
      inspect_error(reader, Rule::om_string, "String object begins with a %x instead of 0, 3 or 5\n", kind);
  }
}

}  // namespace

std::optional<std::string> read_om_string(RecordReader& reader, StringTyping typing,
                                          const PartitionEntry& partition, const FieldLabel& label) {
  OmStringField field = read_field(reader, typing, partition, label);
  if (!field.shared_index) return std::move(field.own_text);
  return SharedString(partition.shared_strings[*field.shared_index]);
}

OmStringField read_om_string_field(RecordReader& reader, const PartitionEntry& partition,
                                   const FieldLabel& label) {
  return read_field(reader, StringTyping::vla_typed, partition, label);
}

void seek_object(RecordReader& reader, const PartitionEntry& partition, std::int32_t object_index) {
  const std::int64_t distance = std::int64_t{object_index} * (partition.wide_positions ? 8 : 4);
  const std::uint64_t table = partition.object_table_offset;
  // In front of the table a position may be found, too; in front of the file it is one that no file has.
  reader.move_to(distance < 0 ? table - static_cast<std::uint64_t>(-distance)
                              : position_behind(table, static_cast<std::uint64_t>(distance)));
  const std::uint64_t position =
      reader.read_position(partition.wide_positions, FieldLabel("File position of object {}", object_index));
  VRII_ASSERT(partition.om_file_length_byte_size == 4 || partition.om_file_length_byte_size == 12);
  const auto length_size = std::uint64_t{partition.om_file_length_byte_size};
  reader.move_to(position_behind(partition.base + length_size, position));
}

}  // namespace inspect
