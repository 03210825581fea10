#include "inspect/records/traced_readers.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "cfi/cfi_error_codes.h"
#include "cfi/stream_position.h"
#include "inspect/records/inspect_errors.h"
#include "support/assertion.h"
#include "support/console.h"
#include "support/error_escape.h"
#include "support/limits.h"
#include "support/text_format.h"

namespace inspect {

namespace {

using support::print;

constexpr std::int32_t kPresentObject = 42;

[[noreturn]] void report_overlap(InspectFile& file) {
  inspect_error(file, "object-manager data overlap: together they are several times as large as the file");
}

void count_traced_field(InspectFile& file) {
  if (++file.traced_fields > file.traced_limit) report_overlap(file);
}

/// "Reading ", then the caller's label; the count and the position follow on the same line.
[[gnu::format(printf, 1, 0)]] void trace_label(const char* label, std::va_list arguments) {
  support::print_text("Reading ");
  support::print_text(support::format_text_list(label, arguments));
}

void read_exactly(InspectFile& file, void* destination, std::size_t count) {
  file.field_bytes += count;
  if (file.field_bytes > file.field_limit) report_overlap(file);
  std::size_t got = 0;
  try {
    got = file.stream->take(destination, count);
  } catch (const support::ErrorEscape& escape) {
    inspect_read_error(file, VRX::System::CFI::status_of(escape.code()));
  }
  if (got != count) inspect_error(file, "unexpected end of file");
}

std::uint8_t read_byte(InspectFile& file) {
  std::uint8_t byte = 0;
  read_exactly(file, &byte, 1);
  return byte;
}

/// The bytes of `count` values; a product that is no positive 32-bit number reads nothing.
std::size_t byte_count(std::int32_t count, std::int32_t width) {
  const auto bytes =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(count) * static_cast<std::uint32_t>(width));
  return bytes < 1 ? 0 : static_cast<std::size_t>(bytes);
}

void read_values(InspectFile& file, std::int32_t count, std::int32_t width, void* destination) {
  const std::size_t bytes = byte_count(count, width);
  if (bytes > 0) read_exactly(file, destination, bytes);
}

void print_bytes(const std::uint8_t* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) print("%-2.2X", bytes[i]);
}

/// Reverses `count` groups of `width` bytes in place.
void swap_groups(bool trace, const char* heading, std::int32_t count, std::int32_t width, void* data) {
  auto* bytes = static_cast<std::uint8_t*>(data);
  const auto size = static_cast<std::size_t>(width);
  for (std::size_t left = byte_count(count, width); left >= size; left -= size, bytes += size) {
    if (trace) {
      support::print_text(heading);
      print_bytes(bytes, size);
    }
    std::reverse(bytes, bytes + size);
    if (trace) {
      support::print_text(" ... out: ");
      print_bytes(bytes, size);
      support::print_text("\n");
    }
  }
}

/// The value of `further` more bytes behind the leading bits, most significant first, kept to 32 bits.
std::uint32_t append_bytes(InspectFile& file, std::uint32_t value, int further) {
  for (int i = 0; i < further; ++i) value = value << 8U | read_byte(file);
  return value;
}

std::int32_t sign_extend(std::uint32_t value, int unused_bits) {
  return std::bit_cast<std::int32_t>(value << unused_bits) >> unused_bits;
}

}  // namespace

void swap_shorts(bool trace, const InspectFile& file, std::int32_t count, void* data) {
  if (VRII_NEVER(data == nullptr)) return;
  if (!file.swap_bytes) return;
  if (trace) print("Converting %d shorts\n", count);
  swap_groups(trace, "Data in: ", count, 2, data);
}

void swap_ints(bool trace, const InspectFile& file, std::int32_t count, void* data) {
  if (file.swap_bytes) swap_groups(trace, "Data in:  ", count, 4, data);
}

void swap_int64s(bool trace, const InspectFile& file, std::int32_t count, void* data) {
  if (file.swap_bytes) swap_groups(trace, "Data in:  ", count, 8, data);
}

std::uint64_t current_position(const InspectFile& file) { return CFI_get_position(*file.stream); }

// The label is printed only when tracing; its arguments cost a reader nothing else.
#define VRII_TRACE_LABEL(label)    \
  if (trace) {                     \
    count_traced_field(file);      \
    std::va_list arguments;        \
    va_start(arguments, label);    \
    trace_label(label, arguments); \
    va_end(arguments);             \
  }

void read_bytes(bool trace, InspectFile& file, std::int32_t count, void* destination, const char* label,
                ...) {
  VRII_TRACE_LABEL(label)
  if (trace) print(": %d bytes @%llu \n", count, static_cast<unsigned long long>(current_position(file)));
  read_values(file, count, 1, destination);
}

void read_shorts(bool trace, InspectFile& file, std::int32_t count, void* destination, const char* label,
                 ...) {
  VRII_TRACE_LABEL(label)
  if (trace) print(": %d shorts @%llu\n", count, static_cast<unsigned long long>(current_position(file)));
  read_values(file, count, 2, destination);
  swap_shorts(trace, file, count, destination);
}

void read_ints(bool trace, InspectFile& file, std::int32_t count, void* destination, const char* label, ...) {
  VRII_TRACE_LABEL(label)
  if (trace) print(": %d ints @%llu\n", count, static_cast<unsigned long long>(current_position(file)));
  read_values(file, count, 4, destination);
  swap_ints(trace, file, count, destination);
}

void read_int64s(bool trace, InspectFile& file, std::int32_t count, void* destination, const char* label,
                 ...) {
  VRII_TRACE_LABEL(label)
  if (trace) print(": %d int64s @%llu\n", count, static_cast<unsigned long long>(current_position(file)));
  read_values(file, count, 8, destination);
  swap_int64s(trace, file, count, destination);
}

void read_position(bool trace, InspectFile& file, bool wide, std::uint64_t& destination, const char* label,
                   ...) {
  std::string text;
  if (trace) {
    std::va_list arguments;
    va_start(arguments, label);
    text = support::format_text_list(label, arguments);
    va_end(arguments);
  }
  if (wide) {
    read_int64s(trace, file, 1, &destination, "%s", text.c_str());
    return;
  }
  std::uint32_t narrow = 0;
  read_ints(trace, file, 1, &narrow, "%s", text.c_str());
  destination = narrow;
}

std::int32_t read_compact_int(bool trace, InspectFile& file, const PartitionEntry& partition,
                              const char* label, ...) {
  VRII_TRACE_LABEL(label)
  if (trace) print(": 1 int @%llu\n", static_cast<unsigned long long>(current_position(file)));
  if (!partition.compact) {
    std::int32_t value = 0;
    read_exactly(file, &value, sizeof value);
    swap_ints(trace, file, 1, &value);
    return value;
  }
  const std::uint8_t lead = read_byte(file);
  if (lead < 0x80) return lead - 1;
  const int further = ((lead >> 5U) & 3U) + 1;
  constexpr int kUnusedBits[] = {19, 11, 3, 0};
  return sign_extend(append_bytes(file, lead & 0x1FU, further), kUnusedBits[further - 1]);
}

std::int32_t read_compact_short(bool trace, InspectFile& file, const PartitionEntry& partition,
                                const char* label, ...) {
  VRII_TRACE_LABEL(label)
  if (trace) print(": 1 short @%llu\n", static_cast<unsigned long long>(current_position(file)));
  if (!partition.compact) {
    std::int16_t value = 0;
    read_exactly(file, &value, sizeof value);
    swap_shorts(trace, file, 1, &value);
    return value;
  }
  const std::uint8_t lead = read_byte(file);
  if (lead < 0x80) return lead - 1;
  const bool two_further = (lead & 0x40U) != 0;
  // With two further bytes the six leading bits fall off: writers rely on the low 16 bits alone.
  return sign_extend(append_bytes(file, lead & 0x3FU, two_further ? 2 : 1), two_further ? 16 : 18);
}

std::int32_t read_compact_om_label(InspectFile& file) {
  const std::uint8_t lead = read_byte(file);
  if (lead < 0x80) return kPresentObject;
  if (lead == 0xFF) return -1;
  if (lead == 0xFE) return -2;
  if ((lead & 0xFCU) == 0xF0) {
    append_bytes(file, 0, (lead & 3U) + 1);
    return kPresentObject;
  }
  if ((lead & 0xC0U) == 0x80) {
    return std::bit_cast<std::int32_t>(append_bytes(file, lead & 0x0FU, ((lead >> 4U) & 3U) + 1));
  }
  inspect_error(file, "bad compact OM label");
}

namespace {

std::string read_own_string(bool trace, InspectFile& file, const PartitionEntry& partition) {
  const std::int32_t count = read_compact_int(trace, file, partition, "Num chars in OM string");
  if (count < 0 || count > limits::kObjectStringCharacters)
    inspect_error(file, "Bad value %d for length of string", count);
  std::string text(static_cast<std::size_t>(count), '\0');
  read_bytes(trace, file, count, text.data(), "Contents of OM string");
  return text;
}

std::size_t read_shared_index(bool trace, InspectFile& file, const PartitionEntry& partition) {
  const std::int32_t index = read_compact_int(trace, file, partition, "string ref");
  if (index < 0 || static_cast<std::size_t>(index) >= partition.shared_strings.size()) {
    inspect_error(file, "Bad shared string table index: %d", index);
  }
  return static_cast<std::size_t>(index);
}

OmStringField read_string_field(bool trace, InspectFile& file, StringTyping typing,
                                const PartitionEntry& partition) {
  if (trace) print(": OM string @%llu)\n", static_cast<unsigned long long>(current_position(file)));
  std::uint8_t kind = 3;
  if (typing == StringTyping::vla_typed) {
    read_bytes(trace, file, 1, &kind, "VLA type for OM strings - should be 0, 3 or 5");
  }
  switch (kind) {
    case 0:
      return {};
    case 3:
      return {read_own_string(trace, file, partition), std::nullopt};
    case 5:
      return {std::nullopt, read_shared_index(trace, file, partition)};
    default:
      inspect_error(file, "String object begins with a %x instead of 0, 3 or 5\n", kind);
  }
}

}  // namespace

std::optional<std::string> read_om_string(bool trace, InspectFile& file, StringTyping typing,
                                          const PartitionEntry& partition, const char* label, ...) {
  VRII_TRACE_LABEL(label)
  OmStringField field = read_string_field(trace, file, typing, partition);
  if (!field.shared_index) return std::move(field.own_text);
  return SharedString(partition.shared_strings[*field.shared_index]);
}

OmStringField read_om_string_field(bool trace, InspectFile& file, const PartitionEntry& partition,
                                   const char* label) {
  if (trace) print("Reading %s", label);
  return read_string_field(trace, file, StringTyping::vla_typed, partition);
}

#undef VRII_TRACE_LABEL

void move_to(bool trace, InspectFile& file, std::uint64_t position) {
  try {
    CFI_set_position(*file.stream, position);
  } catch (const support::ErrorEscape&) {
    // Nothing but such a position is refused.
    inspect_error(file, "fseek to %llu failed errno = %d", static_cast<unsigned long long>(position), EINVAL);
  }
  if (trace) print("Move to %llu\n", static_cast<unsigned long long>(position));
}

void seek_object(InspectFile& file, const PartitionEntry& partition, std::int32_t object_index, bool trace) {
  const std::int64_t distance = std::int64_t{object_index} * (partition.wide_positions ? 8 : 4);
  const std::uint64_t table = partition.object_table_offset;
  // In front of the table a position may be found, too; in front of the file it is one that no file has.
  move_to(trace, file,
          distance < 0 ? table - static_cast<std::uint64_t>(-distance)
                       : position_behind(table, static_cast<std::uint64_t>(distance)));
  std::uint64_t position = 0;
  read_position(trace, file, partition.wide_positions, position, "File position of object %d", object_index);
  VRII_ASSERT(partition.om_file_length_byte_size == 4 || partition.om_file_length_byte_size == 12);
  move_to(trace, file,
          position_behind(partition.base + static_cast<std::uint64_t>(partition.om_file_length_byte_size),
                          position));
}

}  // namespace inspect
