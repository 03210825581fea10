#include "inspect/sections/jt_body_starts.h"

#include <algorithm>
#include <array>
#include <string>

#include "inspect/records/inspect_errors.h"
#include "inspect/sections/jt_table.h"

namespace inspect {

namespace {

constexpr std::string_view kJtStart = "Version ";
constexpr std::uint32_t kCheckedBodies = 100'000;
constexpr std::size_t kReportedBodies = 20;

/// The bodies that a table lists, a bounded number of them.
class JtBodyCheck {
 public:
  JtBodyCheck(const InspectFile& file, support::ByteSource& stream, const char* stream_name,
              std::string_view path)
      : file_(file), stream_(stream), stream_name_(stream_name), path_(path), size_(stream.size()) {}

  void run();

 private:
  bool begins_like_jt(std::uint64_t position, std::uint64_t length);
  void report(Rule rule, const JtTableEntry& body, std::uint64_t position, const char* what);

  const InspectFile& file_;
  support::ByteSource& stream_;
  const char* stream_name_;
  std::string_view path_;
  std::uint64_t size_;
  std::size_t reported_ = 0;
};

/// The bodies follow the table without a gap, whatever number the first offset has.
void JtBodyCheck::run() {
  JtTable table;
  stream_.set_position(0);
  if (!table.read_head(stream_) || table.data_start() > size_ || table.body_count() == 0) return;
  const std::uint64_t first = table.entry(0).offset;
  const std::uint64_t first_end = table.body_count() > 1 ? table.entry(1).offset : size_;
  const std::uint64_t shift = first <= first_end && first <= size_ ? table.data_start() - first : 0;
  const std::uint32_t count = std::min(table.body_count(), kCheckedBodies);
  for (std::uint32_t i = 0; i < count && reported_ < kReportedBodies; ++i) {
    const JtTableEntry body = table.entry(i);
    const std::uint64_t position = body.offset + shift;
    const std::uint64_t end = i + 1 < table.body_count() ? table.entry(i + 1).offset + shift : size_;
    if (position < table.data_start() || position > end || end > size_) {
      report(Rule::jt_body, body, position, "has an impossible place");
    } else if (!begins_like_jt(position, end - position)) {
      report(Rule::jt_body_start, body, position, "does not begin like a JT body");
    }
  }
}

bool JtBodyCheck::begins_like_jt(std::uint64_t position, std::uint64_t length) {
  std::array<char, kJtStart.size()> start = {};
  stream_.set_position(position);
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(start.size(), length));
  const std::size_t count = stream_.read(start.data(), wanted);
  return kJtStart.starts_with(std::string_view(start.data(), count));
}

void JtBodyCheck::report(Rule rule, const JtTableEntry& body, std::uint64_t position, const char* what) {
  ++reported_;
  support::Finding finding;
  finding.rule = rule;
  finding.manner = support::Manner::result;
  finding.place.stream = path_;
  finding.place.field = "body";
  if (position < size_) {
    finding.place.stream_offset = position;
    finding.place.file_offset = stream_.file_offset(position);
    finding.place.length = std::min<std::uint64_t>(kJtStart.size(), size_ - position);
  }
  report_finding(file_, std::move(finding), "body %llu of the %s stream %s",
                 static_cast<unsigned long long>(body.id), stream_name_, what);
}

}  // namespace

void check_jt_body_starts(const InspectFile& file, support::ByteSource& stream, const char* stream_name,
                          std::string_view path) {
  JtBodyCheck(file, stream, stream_name, path).run();
}

}  // namespace inspect
