#include "inspect/sections/jt_bodies.h"

#include <cstdint>
#include <limits>
#include <optional>

#include "inspect/records/inspect_errors.h"
#include "inspect/sections/jt_extraction.h"
#include "inspect/sections/jt_table.h"
#include "inspect/sections/section_sink.h"
#include "support/error_escape.h"

namespace inspect {

namespace {

constexpr std::uint64_t kUnknownSize = std::numeric_limits<std::uint64_t>::max();

/// What one byte of an LZ4 block can expand to at best.
constexpr std::uint64_t kFramingRatio = 255;

}  // namespace

void read_jt_bodies(InspectFile& file, support::ByteSource& stream, const char* stream_name,
                    SectionSink& sink, WrittenBodies* written) {
  JtTable table;
  if (!table.read_head(stream)) {
    report_problem(file, Rule::jt_body, "unexpected end of the %s stream", stream_name);
    return;
  }
  const JtHead head = {stream_name, table.version(), table.body_count(), table.body_partition_count()};
  sink.begin_jt(head);

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
    report_problem(file, Rule::jt_body, "the table of %u JT bodies does not fit into the %s stream",
                   table.body_count(), stream_name);
    return;
  }
  sink.begin_jt_table(head);
  for (std::uint32_t i = 0; i < table.body_count(); ++i) {
    const JtTableEntry body = table.entry(i);
    sink.take_jt_body({body.id, body.offset});
  }
  if (written != nullptr && table.body_count() != 0) {
    extract_jt_bodies(file, {stream, stream_name, size, available}, table, *written);
  }
  sink.end_jt(head);
  if (failure) throw *failure;
}

}  // namespace inspect
