#include "inspect/sections/jt_extraction.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string>

#include "cfi/stream_names.h"
#include "inspect/records/inspect_errors.h"
#include "support/byte_copy.h"
#include "support/limits.h"
#include "support/output_file.h"
#include "support/progress.h"
#include "support/text_format.h"

namespace inspect {

namespace {

constexpr std::size_t kCopySize = std::size_t{512} * 1024;

/// Bodies whose damage is told one by one; of the others, their number.
constexpr std::uint32_t kToldBodies = 10;

/// Writes the bodies of one stream to their files.
class BodyExtraction {
 public:
  BodyExtraction(InspectFile& file, const JtStream& stream, JtTable& table, WrittenBodies& written)
      : file_(file),
        stream_(stream),
        table_(table),
        written_(written),
        progress_(file.console, file.name, stream.size - table.data_start()) {}

  void run();

 private:
  /// The bytes of one body, from the first to the one behind the last.
  struct Extent {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
  };

  Extent listed_extent(const JtTableEntry& body, std::uint32_t number);
  bool is_possible(const Extent& extent) const {
    return extent.start <= extent.end && extent.start <= stream_.size;
  }
  void report_impossible(const JtTableEntry& body, const Extent& extent);
  void extract(const JtTableEntry& body, std::uint64_t position, std::uint64_t length);
  std::string output_name(std::uint64_t id) const;
  bool open_output(const std::string& name, support::OutputFile& output);
  bool takes_too_long(const Extent& extent, std::uint64_t position);
  /// False, and reported, when not all of it could be copied.
  bool copy(std::uint64_t position, std::uint64_t length, support::OutputFile& output);

  InspectFile& file_;
  const JtStream& stream_;
  JtTable& table_;
  WrittenBodies& written_;
  std::uint64_t work_ = 0;    ///< bytes copied, and those that are passed again to go back
  std::uint64_t bodies_ = 0;  ///< for which an output was opened
  std::uint32_t impossible_ = 0;
  support::ProgressLine progress_;
};

/// The bodies follow the table without a gap and in its order, whatever number the first offset has. Behind
/// a body whose offset cannot be, the offsets tell where the next one is.
void BodyExtraction::run() {
  const Extent first = listed_extent(table_.entry(0), 0);
  const std::uint64_t shift = is_possible(first) ? table_.data_start() - first.start : 0;
  for (std::uint32_t i = 0; i < table_.body_count(); ++i) {
    const JtTableEntry body = table_.entry(i);
    const Extent extent = listed_extent(body, i);
    const std::uint64_t position = extent.start + shift;
    if (!is_possible(extent) || position < table_.data_start() || position > stream_.size) {
      report_impossible(body, extent);
    } else if (takes_too_long(extent, position)) {
      report_problem(file_, Rule::jt_body,
                     "JT bodies in the %s stream overlap: not all of them are extracted", stream_.name);
      break;
    } else if (++bodies_ > limits::kJtBodies + file_.stored_bytes() / limits::kBytesOfJtBody) {
      report_problem(file_, Rule::jt_body,
                     "JT bodies in the %s stream are too many: not all of them are extracted", stream_.name);
      break;
    } else {
      extract(body, position, extent.end - extent.start);
    }
  }
  if (impossible_ > kToldBodies) {
    report_problem(file_, Rule::jt_body, "%u more JT bodies in the %s stream have an impossible extent",
                   impossible_ - kToldBodies, stream_.name);
  }
}

void BodyExtraction::report_impossible(const JtTableEntry& body, const Extent& extent) {
  if (++impossible_ > kToldBodies) return;
  report_problem(file_, Rule::jt_body, "JT body %llu in the %s stream has an impossible extent: %llu to %llu",
                 static_cast<unsigned long long>(body.id), stream_.name,
                 static_cast<unsigned long long>(extent.start), static_cast<unsigned long long>(extent.end));
}

void BodyExtraction::extract(const JtTableEntry& body, std::uint64_t position, std::uint64_t length) {
  const std::string name = output_name(body.id);
  support::OutputFile output(file_.console);
  if (!open_output(name, output)) return;
  written_.note(file_, name, body.id);
  if (!copy(position, length, output))
    report_problem(file_, Rule::output_failed, "output file %s is incomplete", name.c_str());
}

BodyExtraction::Extent BodyExtraction::listed_extent(const JtTableEntry& body, std::uint32_t number) {
  const bool is_last = number + 1 == table_.body_count();
  return {body.offset, is_last ? stream_.size : table_.entry(number + 1).offset};
}

/// Sound bodies lie one behind the other. Going back in a framed stream means to expand it again.
bool BodyExtraction::takes_too_long(const Extent& extent, std::uint64_t position) {
  if (position < stream_.source.position()) work_ += position;
  work_ += std::min(extent.end - extent.start, stream_.available - std::min(position, stream_.available));
  return work_ / limits::kReadsOfAllBytes > stream_.available;
}

std::string BodyExtraction::output_name(std::uint64_t id) const {
  const bool is_display = std::strcmp(stream_.name, stream_names::kDisplayJt) == 0;
  return support::format_text(is_display ? "d_jt_%d.jt" : "jt_%d.jt", static_cast<std::int32_t>(id));
}

bool BodyExtraction::open_output(const std::string& name, support::OutputFile& output) {
  if (output.open(name, file_.identity)) return true;
  report_problem(file_, Rule::output_failed,
                 output.was_refused() ? "can not open output file %s" : "could not open %s", name.c_str());
  return false;
}

bool BodyExtraction::copy(std::uint64_t position, std::uint64_t length, support::OutputFile& output) {
  bool written = true;
  stream_.source.set_position(position);
  const auto write = [&](std::span<const std::byte> bytes) {
    if (!output.write(bytes.data(), bytes.size())) written = false;
    progress_.advance(bytes.size());
  };
  const bool whole = support::copy_section(stream_.source, length, write, kCopySize) == length;
  if (!whole) report_problem(file_, Rule::jt_body, "unexpected end of the %s stream", stream_.name);
  if (!output.close()) written = false;
  if (!written) report_problem(file_, Rule::output_failed, "write failed");
  return written && whole;
}

}  // namespace

void extract_jt_bodies(InspectFile& file, const JtStream& stream, JtTable& table, WrittenBodies& written) {
  BodyExtraction(file, stream, table, written).run();
}

}  // namespace inspect
