#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace test_support {

inline constexpr std::string_view kSolidHeader = "**ABC**FORMAT=binary;SCH=SCH_3201197_32100;END\n";

/// One data block of a modeller partition, before it is stored.
struct SolidBlock {
  std::string data = {};  ///< expanded
  std::optional<std::string> stored =
      std::nullopt;  ///< what stands in the file instead of the data as stored
  std::optional<std::uint64_t> saved_size = std::nullopt;
  std::optional<std::uint64_t> saved_plain_checksum = std::nullopt;
  std::optional<std::uint64_t> saved_stored_checksum = std::nullopt;
  bool trailer = true;  ///< of compressed data, with its padding byte
};

/// A modeller partition. What is not set is what a sound partition has there.
struct SolidPlan {
  std::endian order = std::endian::little;
  std::int32_t kind = 10;
  std::string header_text{kSolidHeader};
  SolidBlock block = {};
  bool compressed = false;
  bool wide = false;  ///< kind 19: the 64-bit size behind the bits
  bool extended = false;
  std::int32_t body_tag = 0;
  std::uint16_t ext_version = 0;
  std::int32_t linked_partition_id = 0;
  std::uint8_t reference_kind = 0;
  std::int32_t reference_target = 0;
  std::vector<std::int32_t> skipped = {};
  std::vector<std::int32_t> listed = {};            ///< stored twice, as the two arrays
  std::optional<SolidBlock> second = std::nullopt;  ///< extension versions 4 and 5

  std::optional<std::uint32_t> header_size = std::nullopt;
  std::optional<std::uint64_t> rest_size = std::nullopt;
  std::optional<std::uint64_t> second_size = std::nullopt;
  std::optional<std::int32_t> skip_count = std::nullopt;
  std::optional<std::int32_t> list_count = std::nullopt;
};

std::string solid_partition(const SolidPlan& plan);

/// A zlib stream of the bytes.
std::string deflated(std::string_view bytes);

std::uint32_t adler_of(std::string_view bytes);

}  // namespace test_support
