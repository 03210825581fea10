#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "inspect/records/part_records.h"
#include "inspect/records/partition_kinds.h"
#include "inspect/records/text_pool.h"

namespace inspect {

inline constexpr std::int32_t kFirstOmVersion = 3;
inline constexpr std::int32_t kLastOmVersion = 10;
inline constexpr std::size_t kEntityTypeCount = 256;

/// Index values that stand for no object.
inline constexpr std::int32_t kNullIndex = -1;
inline constexpr std::int32_t kOtherNullIndex = -2;

struct OmSchema {
  TextId name = kNoText;
  std::int32_t version = 0;
};

/// One class of the class table, from an OM handle (versions below 10) or a class entry.
struct OmClass {
  TextId schema_name = kNoText;
  std::int32_t schema_version = 0;
  TextId name = kNoText;
  std::int32_t sub_file_id = 0;
  std::int32_t superclass = kNullIndex;
  std::int32_t digest = 0;       ///< class entries only
  std::int32_t second_word = 0;  ///< class entries only: the word behind the digest
};

/// A partition may have a million of these and of the next two: they are kept small.
struct AuditEntry {
  TextId user_name = kNoText;
  std::int32_t save_time = 0;  ///< seconds since 1970; 0 marks a pseudo entry
  std::int16_t version_number = 0;
  std::uint16_t machine_type = 0;
};

struct AuditCookies {
  std::int32_t magic_cookie = 0;
  std::int32_t maximum_object_id = 0;
};

/// One program version of the audit trail with its saves: `entry_count` entries of AuditTrail::entries.
struct AuditObject {
  TextId program_version = kNoText;
  std::uint32_t first_entry = 0;
  std::uint32_t entry_count = 0;
};

struct AuditTrail {
  std::deque<AuditObject> objects;  ///< a deque grows without a second copy
  std::deque<AuditEntry> entries;
  std::deque<AuditCookies>
      cookies;                  ///< of the entries; kept when wanted and recorded (OM version 5 and above)
  bool wants_cookies = false;   ///< set before the trail is read: keep them
  bool pseudo_entries = false;  ///< an entry with save time 0 was read
};

/// The header of an object-manager partition, in the order of the file. Positions are absolute in the part
/// stream, sizes in bytes.
struct ObjectManagerHeader {
  std::uint64_t start = 0;   ///< first byte behind the length field
  std::uint64_t length = 0;  ///< as stored: the bytes behind the length field, a checksum included
  std::array<std::uint8_t, 7> intro = {};

  std::int32_t version = 0;      ///< 3 to 10
  std::int32_t filing_mode = 0;  ///< bits; encoding and width of positions are kept in the PartitionEntry
  bool first_mode_flag = false;
  bool second_mode_flag = false;
  bool has_checksum = false;
  std::int32_t save_time = 0;  ///< seconds since 1970
  std::string machine_name;
  std::string file_name;
  std::int32_t object_count = 0;

  std::int32_t saving_object_label = 0;
  std::int32_t root_object_label = 0;
  std::int32_t class_count = 0;                      ///< 0 to 9998
  std::optional<std::int32_t> external_references;   ///< version 4 and above, as the next
  std::optional<std::int32_t> external_root_groups;  ///< version 10
  std::optional<std::int32_t> external_file_ids;     ///< the inter-part references
  std::uint64_t external_file_id_offset = 0;         ///< as stored
  std::uint64_t external_reference_offset = 0;       ///< as stored

  std::uint64_t end = 0;  ///< first byte behind it
};

/// What is read of one object-manager partition, in the order of the file.
struct ObjectManagerPartition : ObjectManagerHeader {
  bool wants_class_names = true;  ///< set before it is read: keep the names of schemas and classes
  TextPool texts;

  std::vector<OmSchema> schemas;  ///< version 10
  std::vector<OmClass> classes;
  std::vector<std::int16_t> superclass_table;  ///< empty for versions 7 to 9

  std::uint64_t shared_string_position = 0;  ///< as stored; 0 when the partition has none
  std::int32_t root_object = kNullIndex;
  std::int32_t audit_class = 0;
  std::int32_t audit_entry_class = 0;

  std::int32_t utf8_string_count = 0;
  std::string root_name;
  AuditTrail audit;

  bool has_root() const { return root_object != kNullIndex && root_object != kOtherNullIndex; }
};

/// Heads of the entity type chains by entity type; -1 and -2 for an empty chain.
using EntityTypeChains = std::array<std::int32_t, kEntityTypeCount>;

/// True when the partition must hold object-manager data. Before version 15 directories hold plain numbers.
inline bool holds_object_manager_data(const PartRecords& part, const PartitionEntry& partition) {
  const bool newer = part.has_markers || part.version >= 15;
  return newer && !partition.bad && partition.type >= kRecordManager && !is_modeller_type(partition.type);
}

}  // namespace inspect
