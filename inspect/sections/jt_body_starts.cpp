#include "inspect/sections/jt_body_starts.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "inspect/records/inspect_errors.h"
#include "inspect/sections/jt_table.h"

namespace inspect {

namespace {

constexpr std::string_view kJtStart = "Version ";
constexpr std::uint32_t kCheckedBodies = 100'000;
constexpr std::size_t kReportedBodies = 20;

std::vector<JtTableEntry> read_table(support::ByteSource& stream) {
  JtTable table;
  std::vector<JtTableEntry> bodies;
  stream.set_position(0);
  if (!table.read_head(stream) || table.data_start() > stream.size()) return bodies;
  bodies.resize(std::min(table.body_count(), kCheckedBodies));
  for (std::uint32_t i = 0; i < bodies.size(); ++i) bodies[i] = table.entry(i);
  return bodies;
}

}  // namespace

void check_jt_body_starts(const InspectFile& file, support::ByteSource& stream, const char* stream_name,
                          std::string_view path) {
  std::vector<JtTableEntry> bodies = read_table(stream);
  std::ranges::sort(bodies, {}, &JtTableEntry::offset);
  std::size_t reported = 0;
  for (std::size_t i = 0; i < bodies.size() && reported < kReportedBodies; ++i) {
    const std::uint64_t end = i + 1 < bodies.size() ? bodies[i + 1].offset : stream.size();
    if (bodies[i].offset >= end) continue;  // an empty body, or one that the reading has reported
    std::array<char, kJtStart.size()> start = {};
    stream.set_position(bodies[i].offset);
    const std::size_t wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(start.size(), end - bodies[i].offset));
    const std::size_t count = stream.read(start.data(), wanted);
    if (count == 0 || kJtStart.starts_with(std::string_view(start.data(), count))) continue;
    ++reported;
    support::Finding finding;
    finding.rule = Rule::jt_body_start;
    finding.manner = support::Manner::result;
    finding.place.stream = path;
    finding.place.stream_offset = bodies[i].offset;
    finding.place.file_offset = stream.file_offset(bodies[i].offset);
    finding.place.length = count;
    finding.place.field = "body";
    report_finding(file, std::move(finding), "body %llu of the %s stream does not begin like a JT body",
                   static_cast<unsigned long long>(bodies[i].id), stream_name);
  }
}

}  // namespace inspect
