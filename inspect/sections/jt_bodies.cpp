#include "inspect/sections/jt_bodies.h"

#include <cstdint>
#include <limits>
#include <optional>

#include "inspect/records/inspect_errors.h"
#include "inspect/sections/jt_extraction.h"
#include "inspect/sections/jt_table.h"
#include "support/console.h"
#include "support/error_escape.h"

namespace inspect {

namespace {

constexpr std::uint64_t kUnknownSize = std::numeric_limits<std::uint64_t>::max();

/// What one byte of an LZ4 block can expand to at best.
constexpr std::uint64_t kFramingRatio = 255;

void print_table(JtTable& table) {
  support::print_text("   Id  Offset\n   --  ------\n");
  for (std::uint32_t i = 0; i < table.body_count(); ++i) {
    const JtTableEntry body = table.entry(i);
    support::print(" %llu %llu\n", static_cast<unsigned long long>(body.id),
                   static_cast<unsigned long long>(body.offset));
  }
}

}  // namespace

void list_jt_bodies(InspectFile& file, support::ByteSource& stream, const char* stream_name,
                    WrittenBodies* written) {
  JtTable table;
  if (!table.read_head(stream)) {
    report_problem(file, "unexpected end of the %s stream", stream_name);
    return;
  }
  if (table.body_partition_count() != 0) {
    support::print("Part contains %u JT BodyPartition objects\n", table.body_partition_count());
  }
  support::print("Part contains %u JT bodies in the %s stream:\n", table.body_count(), stream_name);

  // A compressed stream that is damaged has no size; what comes before the damage is still shown.
  std::uint64_t size = kUnknownSize;
  std::uint64_t available = 0;
  std::optional<support::ErrorEscape> failure;
  try {
    size = stream.size();
    available = stream.available();
  } catch (const support::ErrorEscape& escape) {
    failure = escape;
    available = kFramingRatio * file.stored_bytes();
  }
  if (table.data_start() > size) {
    report_problem(file, "the table of %u JT bodies does not fit into the %s stream", table.body_count(),
                   stream_name);
    return;
  }
  print_table(table);
  if (file.options.extract_jt && written != nullptr && table.body_count() != 0) {
    extract_jt_bodies(file, {stream, stream_name, size, available}, table, *written);
  }
  support::print_text("\n");
  if (failure) throw *failure;
}

}  // namespace inspect
