#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace inspect {

enum class ReferenceKind : std::uint8_t { body = 0, reference = 1, pseudo_reference = 2 };

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

/// What the reading pass keeps of one modeller partition.
struct BrepsolidPartition {
  BrepsolidHeaderBits bits;
  std::string header_text;          ///< own or borrowed, without the closing '+'
  bool header_saved_here = false;   ///< false: borrowed, or none was found
  std::uint32_t flags = 0;          ///< the derived flags word
  std::uint64_t data_position = 0;  ///< first byte of the stored data
  std::string kernel_version;       ///< "Unknown" when it cannot be derived
};

}  // namespace inspect
