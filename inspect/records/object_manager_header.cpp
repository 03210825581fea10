#include "inspect/records/object_manager_header.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_bounds.h"
#include "inspect/records/om_strings.h"
#include "support/byte_order.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::int32_t kLongLengthFollows = -1;

/// Bits of the filing mode.
enum FilingMode : std::uint32_t {
  kCompact = 4,
  kFirstModeFlag = 256,
  kSecondModeFlag = 512,
  kHasChecksum = 4096,
  kWidePositions = 131072,
};

/// One sound letter of the two suffices.
bool begins_like_om(const std::uint8_t* intro) { return intro[0] == 'O' || intro[1] == 'M'; }

void take_filing_mode(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om,
                      std::int32_t mode) {
  const auto has = [bits = static_cast<std::uint32_t>(mode)](FilingMode bit) { return (bits & bit) != 0; };
  om.filing_mode = mode;
  partition.encoding = has(kCompact) ? Encoding::compact : Encoding::plain;
  partition.wide_positions = has(kWidePositions);
  om.first_mode_flag = has(kFirstModeFlag);
  om.second_mode_flag = has(kSecondModeFlag);
  om.has_checksum = has(kHasChecksum);
  if (om.has_checksum) file.records.has_om_checksums = true;
}

std::string read_text(InspectFile& file, std::int32_t length, const FieldLabel& label) {
  std::string text(static_cast<std::size_t>(length), '\0');
  file.reader.read(std::span(text), label);
  cut_at_terminator(text);
  return text;
}

void read_om_names(InspectFile& file, ObjectManagerPartition& om, std::int32_t machine_name_length) {
  if (machine_name_length < 0 || machine_name_length > limits::kMachineNameBytes) {
    inspect_error(file.reader, Rule::om_name_length, "Bad value %d for machine name length",
                  machine_name_length);
  }
  om.machine_name = read_text(file, machine_name_length, "Machine name");
  std::int32_t file_name_length = 0;
  file.reader.read(file_name_length, "OM filename length");
  if (file_name_length < 0 || file_name_length > limits::kFileNameBytes) {
    inspect_error(file.reader, Rule::om_name_length, "Bad value for file name length of %d",
                  file_name_length);
  }
  om.file_name = read_text(file, file_name_length, "OM filename");
}

void read_external_counts(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om) {
  std::int32_t count = 0;
  file.reader.read(count, "Number external references");
  om.external_references = count;
  if (om.version >= 10) {
    file.reader.read(count, "Number external root object groups");
    om.external_root_groups = count;
  }
  file.reader.read(count, "Number external file-ids");
  om.external_file_ids = count;
  const bool wide = partition.wide_positions;
  om.external_file_id_offset = file.reader.read_position(wide, "External file-id offset");
  om.external_reference_offset = file.reader.read_position(wide, "External reference offset");
}

}  // namespace

void read_om_length(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om) {
  file.reader.move_to(partition.base);
  std::int32_t length = 0;
  file.reader.read(length, "Length of OM file");
  om.length = static_cast<std::uint32_t>(length);
  partition.om_file_length_byte_size = 4;
  if (length == kLongLengthFollows) {
    file.reader.read(om.length, "Long length of OM file");
    partition.om_file_length_byte_size = 12;
  }
  om.start = position_behind(partition.base, static_cast<std::uint64_t>(partition.om_file_length_byte_size));
}

bool read_om_intro(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om) {
  file.reader.read(std::span(om.intro), "Intro to OM file ('O', 'M', machine info)");
  if (!begins_like_om(om.intro.data())) {
    if (partition.type == kCmod) return false;
    inspect_error(file.reader, Rule::om_not_om,
                  "Directory %s %d is expected to be in OM format but is not.\n",
                  partition_type_name(partition.type), partition.id);
  }
  if (Trace* trace = file.reader.trace()) {
    trace->write("OM header: ");
    for (const std::uint8_t byte : om.intro) trace->print(" %i", byte);
    trace->write("\n");
  }
  return true;
}

void read_om_identity(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om) {
  std::array<std::int32_t, 4> header = {};
  file.reader.read(std::span(header), "OM header (version no., filing mode, save time, mach.name len)");
  if (Trace* trace = file.reader.trace()) {
    for (const std::int32_t value : header) trace->print("%6d ", value);
    trace->write("\n");
  }
  const auto [version_word, mode, save_time, machine_name_length] = header;
  om.version = version_word & 0xFF;
  take_filing_mode(file, partition, om, mode);
  om.save_time = save_time;
  read_om_names(file, om, machine_name_length);
  file.reader.read(om.object_count, "Number objects");
}

void read_om_counts(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om) {
  if (om.version < kFirstOmVersion || om.version > kLastOmVersion) {
    inspect_error(file.reader, Rule::om_version, "*** Corrupt part: unknown OM version number %d\n",
                  om.version);
  }
  std::array<std::int32_t, 2> labels = {};
  file.reader.read(std::span(labels), "Labels of saving object and root object");
  om.saving_object_label = labels[0];
  om.root_object_label = labels[1];
  file.reader.read(om.class_count, "Number of classes");
  if (om.class_count < 0 || om.class_count > limits::kClasses) {
    inspect_error(file.reader, Rule::om_class_count, "Bad value %d for number of classes", om.class_count);
  }
  if (om.version >= 4) read_external_counts(file, partition, om);
  om.end = file.stream->position();
  file.om_headers.keep(partition.number, om);
}

bool begins_with_om_intro(InspectFile& file, const PartitionEntry& partition) {
  std::array<std::uint8_t, 14> bytes = {};
  file.stream->set_position(partition.base);
  const std::size_t count = file.stream->read(bytes.data(), bytes.size());
  const bool long_length = support::load_little<std::int32_t>(bytes.data()) == kLongLengthFollows;
  const std::size_t at = long_length ? 12 : 4;
  return count >= at + 2 && begins_like_om(bytes.data() + at);
}

}  // namespace inspect
