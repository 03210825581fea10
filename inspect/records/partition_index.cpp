#include "inspect/records/partition_index.h"

#include <array>

#include "inspect/records/id_set.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/records/part_header_reader.h"
#include "support/limits.h"

namespace inspect {

namespace {

using ull = unsigned long long;

constexpr std::int32_t kWideIndexFormat = 2;

void check_count(InspectFile& file, std::size_t count) {
  if (count > limits::kPartitions)
    inspect_error(file.reader, Rule::index_count, "More than %zu partitions in the part file",
                  limits::kPartitions);
}

PartitionEntry read_index_entry(InspectFile& file, bool wide, std::int32_t number, IdSet& seen) {
  PartitionEntry entry;
  file.reader.read(entry.id, FieldLabel("Read partition index {}: Partition ID", number));
  if (!seen.insert(static_cast<std::uint32_t>(entry.id))) {
    inspect_warning(file.reader, Rule::index_duplicate_id, "duplicate partition id %d\n", entry.id);
  }
  file.reader.read(entry.type, FieldLabel("Read partition index {}: Partition Type ", number));
  if (wide) {
    file.reader.read(entry.offset, FieldLabel("Read partition index {}: Partition Offset", number));
  } else {
    std::uint32_t offset = 0;
    file.reader.read(offset, FieldLabel("Read partition index: {} Partition Offset", number));
    entry.offset = offset;
  }
  file.reader.read(entry.data, FieldLabel("Read partition index {}:  Partition Data", number));
  entry.base = entry.offset;
  return entry;
}

void check_index_entry(InspectFile& file, const PartitionEntry& entry, std::int32_t number) {
  if (entry.id < 1 || entry.id >= *file.records.next_partition_id) {
    inspect_error(file.reader, Rule::index_entry, "Invalid partition id (%d) found in partition #%d\n",
                  entry.id, number);
  }
  if (!is_partition_type(entry.type)) {
    inspect_error(file.reader, Rule::index_entry, "Invalid partition type (%d) found in partition #%d\n",
                  entry.type, number);
  }
  if (entry.offset > file.records.length) {
    inspect_error(file.reader, Rule::index_entry, "Bad offset (%llu) for partition #%d\n",
                  static_cast<ull>(entry.offset), number);
  }
}

bool check_marker(InspectFile& file, PartitionEntry& partition) {
  const auto offset = static_cast<ull>(partition.offset);
  if (partition.offset < kPartitionMarker.size() || partition.offset > file.records.length) {
    inspect_warning(file.reader, Rule::partition_bounds,
                    "Partition id %d has offset %llu (%llu) out of bounds for the file", partition.id, offset,
                    offset);
    return partition.bad = true;
  }
  file.reader.move_to(partition.offset - kPartitionMarker.size());
  std::array<std::uint8_t, 4> found = {};
  file.reader.read(std::span(found), "Partition marker");
  if (found == kPartitionMarker) return false;
  inspect_warning(file.reader, Rule::partition_marker,
                  "Missing marker preceding partition id %d at offset %llu - found %02x%02x%02x%02x\n",
                  partition.id, offset, found[0], found[1], found[2], found[3]);
  return partition.bad = true;
}

void append_directory(InspectFile& file, std::uint64_t position) {
  check_count(file, file.records.partitions.size() + 1);
  PartitionEntry& entry = file.records.partitions.emplace_back();
  entry.number = static_cast<std::uint32_t>(file.records.partitions.size() - 1);
  entry.offset = position;
}

/// Where the directory behind this one starts; 0 when there is none.
std::uint32_t next_directory(const InspectFile& file, const PartitionEntry& partition,
                             const std::array<std::int16_t, limits::kDirectoryWords>& words) {
  const PartHeader& header = file.records.header;
  if (partition.type == kRecordManager) return header.directory_mode >= 2 ? header.directory_position : 0;
  return combine_position(header.version, static_cast<std::uint16_t>(words[1]),
                          static_cast<std::uint16_t>(words[2]));
}

}  // namespace

void read_partition_index(InspectFile& file) {
  file.records.index_offset = file.stream->position();
  std::int32_t format = 0;
  file.reader.read(format, "Partition index format (should be 1 or 2)");
  if (format != 1 && format != kWideIndexFormat) {
    inspect_error(file.reader, Rule::index_format, "Expecting index format of 1 or 2 but found %d\n", format);
  }
  std::int32_t count = 0;
  file.reader.read(count, "Number partitions");
  if (count < 1)
    inspect_error(file.reader, Rule::index_count, "Expecting positive partition count but found %d\n", count);
  std::int32_t next_id = 0;
  file.reader.read(next_id, "Next partition id");
  if (Trace* trace = file.reader.trace()) trace->print("Number partitions %d\n", count);
  if (next_id < 1)
    inspect_error(file.reader, Rule::index_count, "Expecting positive next_partition_id but found %d\n",
                  next_id);
  file.records.next_partition_id = next_id;

  IdSet seen;
  for (std::int32_t i = 0; i < count; ++i) {
    check_count(file, file.records.partitions.size() + 1);
    PartitionEntry entry = read_index_entry(file, format == kWideIndexFormat, i, seen);
    if (Trace* trace = file.reader.trace()) {
      trace->print("Id %d type %d (%s) offset %llu data %d\n", entry.id, entry.type,
                   partition_type_name(entry.type), static_cast<ull>(entry.offset), entry.data);
    }
    check_index_entry(file, entry, i);
    file.records.index_length = file.stream->position() - file.records.index_offset;
    entry.number = static_cast<std::uint32_t>(file.records.partitions.size());
    PartitionEntry& kept = file.records.partitions.emplace_back(std::move(entry));
    if (!file.records.has_markers || kept.type == kOldBrepsolid || kept.type == kPattern) {
      check_partition_data(file, kept);
    }
  }
}

void start_directory_chain(InspectFile& file) { append_directory(file, file.reader.position()); }

bool check_partition_start(InspectFile& file, PartitionEntry& partition) {
  if (file.records.has_markers) return check_marker(file, partition);
  read_partition_header(file, partition);
  return false;
}

void read_partition_header(InspectFile& file, PartitionEntry& partition) {
  if (!file.directory_offsets.insert(static_cast<std::uint32_t>(partition.offset))) {
    inspect_error(file.reader, Rule::directory_chain, "Directory chain comes back to offset %llu\n",
                  static_cast<ull>(partition.offset));
  }
  const auto number = static_cast<std::int32_t>(file.directory_offsets.size());
  file.reader.move_to(partition.offset);
  std::int16_t count = 0;
  file.reader.read(count, "Partition header count");
  if (Trace* trace = file.reader.trace()) {
    trace->print("Directory %d header size %d shorts at offset %llu\n", number, count,
                 static_cast<ull>(file.reader.position()));
  }
  if (count < 1 || count > limits::kDirectoryWords) {
    inspect_error(file.reader, Rule::directory_header, "Count in directory %d is invalid: %d\n", number,
                  count);
  }
  std::array<std::int16_t, limits::kDirectoryWords> words = {};
  const std::span<std::int16_t> stored = std::span(words).first(static_cast<std::size_t>(count));
  file.reader.read(stored, "Partition header");
  trace_words(file.reader, stored);
  partition.type = partition.id = words[0];
  partition.data = words[static_cast<std::size_t>(count) - 1];
  partition.base = file.reader.position();
  check_partition_data(file, partition);
  const std::uint32_t next = next_directory(file, partition, words);
  if (next != 0) append_directory(file, next);
}

void check_partition_data(InspectFile& file, PartitionEntry& partition) {
  const std::int32_t data = partition.data;
  switch (partition.type) {
    case kRecordManager:
      if (!is_part_units(data)) inspect_error(file.reader, Rule::partition_data, "Bad part units %d\n", data);
      if (file.records.units == 0) file.records.units = data;
      return;
    case kCmod:
    case kExpression:
      if (data != 1)
        inspect_error(file.reader, Rule::partition_data,
                      "CMOD/EXP partition header data should be 1 but is: %d\n", data);
      return;
    case kPattern:
      if ((data & 3) == 3)
        inspect_error(file.reader, Rule::partition_data,
                      "Pattern header data should be 0, 1, or 2 but is: %d\n", data);
      file.records.pattern_mode = data & 3;
      break;
    case kOldBrepsolid:
      break;
    default:
      if (!is_partition_type(partition.type)) {
        inspect_error(file.reader, Rule::partition_data, "*** Corrupt part - unknown directory type: %d\n",
                      partition.type);
      }
      return;
  }
  partition.data_zero = data == 0;
  if (partition.data_zero) ++file.records.empty_directories;
}

}  // namespace inspect
