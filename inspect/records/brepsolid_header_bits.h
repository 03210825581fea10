#pragma once

#include <cstdint>

namespace inspect {

inline constexpr std::uint8_t kReference = 1;
inline constexpr std::uint8_t kPseudoReference = 2;

/// The bit header at the start of a modeller partition, with its extension. Sizes are in bytes.
struct BrepsolidHeaderBits {
  bool compressed = false;
  std::uint32_t header_size = 0;  ///< of the header text that follows
  std::uint64_t rest_size = 0;    ///< stored length of the data behind the header text
  bool wide_sizes = false;        ///< 64-bit sizes; selects the 24-byte trailer
  bool has_extension = false;
  std::int32_t body_tag = 0;
  std::uint16_t ext_version = 0;
  std::uint64_t second_size = 0;  ///< of the second data block; 0 none
  bool flag_a = false;
  bool flag_b = false;
  std::int32_t linked_partition_id = 0;
  std::uint8_t reference_kind = 0;  ///< 1 reference, 2 pseudo reference, other a body
  std::int32_t skip_count = 0;
  std::int32_t reference_target = 0;
  std::int32_t list_count = 0;
};

/// What the derived flags word of a modeller partition says.
enum BrepsolidFlags : std::uint32_t {
  kHasListFlag = 1,
  kReferenceFlag = 2,  ///< holds no solid body
  kHasSkippedFlag = 4,
  kPseudoReferenceFlag = 8,
};

/// What the reading pass keeps of one modeller partition. The header text stays in the file: a part may have
/// very many partitions.
struct BrepsolidPartition {
  BrepsolidHeaderBits bits;
  bool header_saved_here = false;     ///< false: borrowed, or none was found
  std::uint32_t header_length = 0;    ///< of the text, own or borrowed, without a closing '+'; 0 to 4096
  std::uint64_t header_position = 0;  ///< of the text; counts only when the length is positive
  std::uint32_t flags = 0;            ///< BrepsolidFlags
  std::uint64_t data_position = 0;    ///< first byte of the stored data
};

}  // namespace inspect
