#pragma once

#include <cstdint>
#include <optional>
#include <variant>

/// What a container says of itself, apart from the elements that it holds: of a damaged one, as much as could
/// be read.
namespace VRX::System::CFI {

/// An index of the maker's format. Offsets count from the start of the file, lengths are in bytes.
struct IndexFacts {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;  ///< checksum included; as far as it was read when `is_whole` does not hold
  bool is_whole = false;     ///< read to its end, whatever its checksum says
  std::optional<std::int32_t> elements;         ///< the element count as stored
  std::optional<std::uint32_t> xxh32_stored;    ///< from format version 2 on
  std::optional<std::uint32_t> xxh32_computed;  ///< from format version 2 on

  /// There is a checksum, and it agrees.
  bool matches() const { return xxh32_stored && xxh32_stored == xxh32_computed; }
};

/// The part file header kept in the header index: 16-bit units, their number not among them.
struct PartHeaderCopy {
  std::uint64_t offset = 0;  ///< from the start of the file
  std::uint64_t length = 0;  ///< in bytes
};

/// A file in the maker's format. What the format version does not have, or damage has hidden, is absent.
struct KvpmFacts {
  std::optional<int> format_version;          ///< as stored, 0 to 255; 0 to 6 are known
  std::optional<std::int64_t> fast_load_end;  ///< as stored, from format version 4 on
  std::optional<std::int64_t> footer_offset;  ///< as stored; -1: no footer
  std::optional<PartHeaderCopy> part_header_copy;
  std::optional<IndexFacts> header_index;
  std::optional<IndexFacts> footer_index;
};

/// A Microsoft compound file. Sectors are counted where they are found, not as the header counts them.
struct CompoundFacts {
  unsigned version = 0;      ///< 3 or 4
  unsigned sector_size = 0;  ///< in bytes: 512 or 4096
  std::uint64_t fat_sectors = 0;
  std::uint64_t difat_sectors = 0;
  std::uint64_t mini_fat_sectors = 0;
  std::uint64_t directory_entries = 0;  ///< those that the directory's sectors have room for, unused ones too
};

/// Of neither kind when not even the header could be read.
using ContainerFacts = std::variant<std::monostate, KvpmFacts, CompoundFacts>;

}  // namespace VRX::System::CFI
