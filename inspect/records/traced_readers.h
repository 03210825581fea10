#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "inspect/records/inspect_file.h"

/// The primitive readers of part records. Each prints, when `trace` is on, one line that names the field
/// and its position before it reads; converts from the file's byte order; and does not return from a short
/// read: that is inspect_error "unexpected end of file" (or "unexpected read error %d").
namespace inspect {

[[gnu::format(printf, 5, 6)]] void read_bytes(bool trace, InspectFile& file, std::int32_t count,
                                              void* destination, const char* label, ...);
[[gnu::format(printf, 5, 6)]] void read_shorts(bool trace, InspectFile& file, std::int32_t count,
                                               void* destination, const char* label, ...);
[[gnu::format(printf, 5, 6)]] void read_ints(bool trace, InspectFile& file, std::int32_t count,
                                             void* destination, const char* label, ...);
[[gnu::format(printf, 5, 6)]] void read_int64s(bool trace, InspectFile& file, std::int32_t count,
                                               void* destination, const char* label, ...);

/// One position: an int64 when `wide`, else an int, zero-extended.
[[gnu::format(printf, 5, 6)]] void read_position(bool trace, InspectFile& file, bool wide,
                                                 std::uint64_t& destination, const char* label, ...);

/// 4 bytes, or the compact form (1 to 5 bytes) when the partition is compact.
[[gnu::format(printf, 4, 5)]] std::int32_t read_compact_int(bool trace, InspectFile& file,
                                                            const PartitionEntry& partition,
                                                            const char* label, ...);

/// 2 bytes, or the compact form (1 to 3 bytes); sign-extended from 16 bits (14 in the short compact form).
[[gnu::format(printf, 4, 5)]] std::int32_t read_compact_short(bool trace, InspectFile& file,
                                                              const PartitionEntry& partition,
                                                              const char* label, ...);

/// Steps over one compact label: 42 stands for any present object, -1 and -2 for none.
std::int32_t read_compact_om_label(InspectFile& file);

enum class StringTyping { plain, vla_typed };

/// One object-manager string; no value for kind 0 and for a shared string without text.
[[gnu::format(printf, 5, 6)]] std::optional<std::string> read_om_string(bool trace, InspectFile& file,
                                                                        StringTyping typing,
                                                                        const PartitionEntry& partition,
                                                                        const char* label, ...);

/// An object-manager string as it stands: its own text, the index of a shared string, or neither.
struct OmStringField {
  std::optional<std::string> own_text;
  std::optional<std::size_t> shared_index;  ///< below the number of the partition's shared strings
};

OmStringField read_om_string_field(bool trace, InspectFile& file, const PartitionEntry& partition,
                                   const char* label);

/// A position of 2^63 and more is inspect_error "fseek to %llu failed errno = %d".
void move_to(bool trace, InspectFile& file, std::uint64_t position);
std::uint64_t current_position(const InspectFile& file);

/// `offset` bytes behind `base`; a sum that 64 bits cannot hold is the last position, where no file reaches,
/// instead of wrapping into one.
constexpr std::uint64_t position_behind(std::uint64_t base, std::uint64_t offset) {
  return offset > UINT64_MAX - base ? UINT64_MAX : base + offset;
}

/// Moves to the first byte behind the length field of an object of the partition's object table.
void seek_object(InspectFile& file, const PartitionEntry& partition, std::int32_t object_index, bool trace);

/// Reverse the bytes of `count` values in place when the file needs it; trace lines show both orders.
void swap_shorts(bool trace, const InspectFile& file, std::int32_t count, void* data);
void swap_ints(bool trace, const InspectFile& file, std::int32_t count, void* data);
void swap_int64s(bool trace, const InspectFile& file, std::int32_t count, void* data);

}  // namespace inspect
