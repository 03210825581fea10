#include "inspect/records/object_manager_header.h"

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_limits.h"
#include "inspect/records/traced_readers.h"
#include "support/byte_order.h"
#include "support/console.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::int32_t kLongLengthFollows = -1;
constexpr std::int32_t kNewerChainsVersion = 10;

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
  partition.compact = has(kCompact);
  partition.wide_positions = has(kWidePositions);
  om.first_mode_flag = has(kFirstModeFlag);
  om.second_mode_flag = has(kSecondModeFlag);
  om.has_checksum = has(kHasChecksum);
  if (om.has_checksum) file.has_om_checksums = true;
}

std::string read_text(InspectFile& file, std::int32_t length, const char* label, bool trace) {
  std::string text(static_cast<std::size_t>(length), '\0');
  read_bytes(trace, file, length, text.data(), "%s", label);
  cut_at_terminator(text);
  return text;
}

void read_om_names(InspectFile& file, ObjectManagerPartition& om, std::int32_t machine_name_length,
                   bool trace) {
  if (machine_name_length < 0 || machine_name_length > limits::kMachineNameBytes) {
    inspect_error(file, "Bad value %d for machine name length", machine_name_length);
  }
  om.machine_name = read_text(file, machine_name_length, "Machine name", trace);
  std::int32_t file_name_length = 0;
  read_ints(trace, file, 1, &file_name_length, "OM filename length");
  if (file_name_length < 0 || file_name_length > limits::kFileNameBytes) {
    inspect_error(file, "Bad value for file name length of %d", file_name_length);
  }
  om.file_name = read_text(file, file_name_length, "OM filename", trace);
}

void read_external_counts(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om,
                          bool trace) {
  std::int32_t count = 0;
  read_ints(trace, file, 1, &count, "Number external references");
  om.external_references = count;
  if (om.version >= 10) {
    read_ints(trace, file, 1, &count, "Number external root object groups");
    om.external_root_groups = count;
  }
  read_ints(trace, file, 1, &count, "Number external file-ids");
  om.external_file_ids = count;
  const bool wide = partition.wide_positions;
  read_position(trace, file, wide, om.external_file_id_offset, "External file-id offset");
  read_position(trace, file, wide, om.external_reference_offset, "External reference offset");
}

}  // namespace

void read_om_length(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om, bool trace) {
  move_to(trace, file, partition.base);
  std::int32_t length = 0;
  read_ints(trace, file, 1, &length, "Length of OM file");
  om.length = static_cast<std::uint32_t>(length);
  partition.om_file_length_byte_size = 4;
  if (length == kLongLengthFollows) {
    read_int64s(trace, file, 1, &om.length, "Long length of OM file");
    partition.om_file_length_byte_size = 12;
  }
  om.start = position_behind(partition.base, static_cast<std::uint64_t>(partition.om_file_length_byte_size));
}

bool read_om_intro(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om,
                   bool trace) {
  read_bytes(trace, file, static_cast<std::int32_t>(om.intro.size()), om.intro.data(),
             "Intro to OM file ('O', 'M', machine info)");
  if (!begins_like_om(om.intro.data())) {
    if (partition.type == kCmod) return false;
    inspect_error(file, "Directory %s %d is expected to be in OM format but is not.\n",
                  partition_type_name(partition.type), partition.id);
  }
  if (trace) {
    support::print_text("OM header: ");
    for (const std::uint8_t byte : om.intro) support::print(" %i", byte);
    support::print_text("\n");
  }
  return true;
}

void read_om_identity(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om, bool trace) {
  std::array<std::int32_t, 4> header = {};
  read_ints(trace, file, 4, header.data(), "OM header (version no., filing mode, save time, mach.name len)");
  if (trace) {
    for (const std::int32_t value : header) support::print("%6d ", value);
    support::print_text("\n");
  }
  const auto [version_word, mode, save_time, machine_name_length] = header;
  om.version = version_word & 0xFF;
  take_filing_mode(file, partition, om, mode);
  om.save_time = save_time;
  read_om_names(file, om, machine_name_length, trace);
  read_ints(trace, file, 1, &om.object_count, "Number objects");
}

void read_om_counts(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om,
                    bool trace) {
  if (om.version < kFirstOmVersion || om.version > kLastOmVersion) {
    inspect_error(file, "*** Corrupt part: unknown OM version number %d\n", om.version);
  }
  if (partition.type == kRecordManager) file.rm_layout = om.version >= kNewerChainsVersion;
  std::array<std::int32_t, 2> labels = {};
  read_ints(trace, file, 2, labels.data(), "Labels of saving object and root object");
  om.saving_object_label = labels[0];
  om.root_object_label = labels[1];
  read_ints(trace, file, 1, &om.class_count, "Number of classes");
  if (om.class_count < 0 || om.class_count > limits::kClasses) {
    inspect_error(file, "Bad value %d for number of classes", om.class_count);
  }
  if (om.version >= 4) read_external_counts(file, partition, om, trace);
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
