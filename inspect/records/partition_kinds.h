#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace inspect {

/// Partition types as the index stores them: those that some code names.
enum PartitionType : std::int32_t {
  kUnknownPartition = 0,
  kRecordManager = 1,
  kOldBrepsolid = 2,
  kCmod = 3,
  kExpression = 4,
  kPattern = 5,
  kOccurrence = 6,
  kPath = 7,
  kBrepsolid = 10,
  kBrepsolidLatent = 12,
  kBrepsolidDelta = 19,
};

/// Sets that a partition type may belong to; a mask.
enum PartitionSet : std::uint8_t {
  kModellerSet = 1,        ///< Brepsolid data: lend a header text, can be extracted by id
  kOldModellerSet = 2,     ///< Brepsolid data, unless the data word says that the directory is empty
  kExtractAllSet = 4,      ///< written by the first pass of -extract_all
  kExtractAllLastSet = 8,  ///< written by its second pass
  kLinkingSet = 16,        ///< extraction goes on with the linked partition
};

/// All that the program has to be told of a partition type.
struct PartitionKind {
  std::int32_t type = kUnknownPartition;
  const char* name = "";                  ///< as printed
  std::string_view listing_switch = {};   ///< lists its contents, as -full does; empty: -full alone
  std::uint8_t sets = 0;                  ///< PartitionSet
  const char* binary_extension = ".x_b";  ///< of its transmit file, when that is binary
};

/// One row for each type; a new type is a new row at the end.
inline constexpr std::array kPartitionKinds = {
    PartitionKind{0, "UNKNOWN"},
    PartitionKind{1, "Record Mgr", "-rm"},
    PartitionKind{2, "Brepsolid", "-bs", kOldModellerSet | kExtractAllSet},
    PartitionKind{3, "CMOD", "-cmod"},
    PartitionKind{4, "ESS", "-ess"},
    PartitionKind{5, "Pattern"},
    PartitionKind{6, "Occurrence", "-occ"},
    PartitionKind{7, "Path", "-path"},
    PartitionKind{8, "XESS"},
    PartitionKind{9, "Facet"},
    PartitionKind{10, "Brepsolid", "-bs", kModellerSet | kExtractAllSet},
    PartitionKind{11, "Vised"},
    PartitionKind{12, "BS (Latent)", "-bs", kModellerSet | kExtractAllSet},
    PartitionKind{13, "BS Sheet", "-bs", kModellerSet | kExtractAllSet},
    PartitionKind{14, "BS Tool", "-bs", kModellerSet | kExtractAllSet},
    PartitionKind{15, "KF"},
    PartitionKind{16, "BS Partition", "-bs", kModellerSet | kExtractAllSet | kLinkingSet, ".x_p"},
    PartitionKind{17, "BSP (Sheet)", "-bs", kModellerSet | kExtractAllSet | kLinkingSet, ".x_p"},
    PartitionKind{18, "BSP (tool)", "-bs", kModellerSet | kExtractAllSet | kLinkingSet, ".x_p"},
    PartitionKind{19, "BS Delta", "-bs", kModellerSet | kExtractAllLastSet, ".x_d"},
};

inline constexpr std::int32_t kFirstPartitionType = kRecordManager;
inline constexpr std::int32_t kLastPartitionType = static_cast<std::int32_t>(kPartitionKinds.size()) - 1;

constexpr bool rows_stand_at_their_types() {
  for (std::size_t row = 0; row < kPartitionKinds.size(); ++row) {
    if (kPartitionKinds[row].type != static_cast<std::int32_t>(row)) return false;
  }
  return true;
}
static_assert(rows_stand_at_their_types(), "the rows stand in the order of their types, without a gap");
static_assert(kLastPartitionType >= kBrepsolidDelta, "each type that has a name here has a row");

constexpr bool is_partition_type(std::int32_t type) {
  return type >= kFirstPartitionType && type <= kLastPartitionType;
}

/// The row of a type; that of type 0 for a type that does not exist.
constexpr const PartitionKind& partition_kind(std::int32_t type) {
  return kPartitionKinds[is_partition_type(type) ? static_cast<std::size_t>(type) : 0];
}

/// True when the type belongs to one of the sets of the mask.
constexpr bool is_in_set(std::int32_t type, std::uint8_t sets) {
  return (partition_kind(type).sets & sets) != 0;
}

/// True for the types of Brepsolid data, the old one included.
constexpr bool is_modeller_type(std::int32_t type) { return is_in_set(type, kModellerSet | kOldModellerSet); }

/// The printed name: "Record Mgr", ..., "BS Delta"; "unknown" outside 1 to 19.
constexpr const char* partition_type_name(std::int32_t type) {
  return is_partition_type(type) ? partition_kind(type).name : "unknown";
}

}  // namespace inspect
