#include "inspect/sections/jt_bodies.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "inspect/records/inspect_errors.h"
#include "inspect/sections/jt_table.h"
#include "support/console.h"
#include "support/limits.h"
#include "support/output_file.h"
#include "support/progress.h"
#include "support/text_format.h"

namespace inspect {

namespace {

constexpr std::size_t kCopySize = std::size_t{512} * 1024;
constexpr std::uint64_t kUnknownSize = std::numeric_limits<std::uint64_t>::max();

/// Writes the bodies of one stream to their files.
class BodyExtraction {
 public:
  BodyExtraction(InspectFile& file, support::ByteSource& stream, const char* stream_name, JtTable& table,
                 std::uint64_t stream_size)
      : file_(file),
        stream_(stream),
        stream_name_(stream_name),
        table_(table),
        stream_size_(stream_size),
        progress_(file.name, stream_size - table.data_start()),
        piece_(std::make_unique_for_overwrite<std::byte[]>(kCopySize)) {}

  void run();

 private:
  /// The bytes of one body, from the first to the one behind the last.
  struct Extent {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
  };

  Extent listed_extent(const JtTableEntry& body, std::uint32_t number);
  bool is_possible(const Extent& extent) const {
    return extent.start <= extent.end && extent.start <= stream_size_;
  }
  std::string output_name(std::uint64_t id) const;
  bool open_output(const std::string& name, support::OutputFile& output);
  bool takes_too_long(const Extent& extent, std::uint64_t position);
  /// False, and reported, when not all of it could be copied.
  bool copy(std::uint64_t position, std::uint64_t length, support::OutputFile& output);

  InspectFile& file_;
  support::ByteSource& stream_;
  const char* stream_name_;
  JtTable& table_;
  std::uint64_t stream_size_;
  std::uint64_t work_ = 0;  ///< bytes copied, and those that are passed again to go back
  support::ProgressLine progress_;
  std::unique_ptr<std::byte[]> piece_;
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
    if (!is_possible(extent) || position < table_.data_start() || position > stream_size_) {
      report_problem(file_, "JT body %llu in the %s stream has an impossible extent: %llu to %llu",
                     static_cast<unsigned long long>(body.id), stream_name_,
                     static_cast<unsigned long long>(extent.start),
                     static_cast<unsigned long long>(extent.end));
      continue;
    }
    if (takes_too_long(extent, position)) {
      report_problem(file_, "JT bodies in the %s stream overlap: not all of them are extracted",
                     stream_name_);
      return;
    }
    const std::string name = output_name(body.id);
    support::OutputFile output;
    if (open_output(name, output) && !copy(position, extent.end - extent.start, output)) {
      report_problem(file_, "output file %s is incomplete", name.c_str());
    }
  }
}

BodyExtraction::Extent BodyExtraction::listed_extent(const JtTableEntry& body, std::uint32_t number) {
  const bool is_last = number + 1 == table_.body_count();
  return {body.offset, is_last ? stream_size_ : table_.entry(number + 1).offset};
}

/// Sound bodies lie one behind the other. Going back in a framed stream means to expand it again.
bool BodyExtraction::takes_too_long(const Extent& extent, std::uint64_t position) {
  if (position < stream_.position()) work_ += position;
  work_ += std::min(extent.end - extent.start, stream_size_ - position);
  return work_ / limits::kReadsOfAllBytes > stream_size_;
}

std::string BodyExtraction::output_name(std::uint64_t id) const {
  const bool is_display = std::strcmp(stream_name_, "DisplayJT") == 0;
  return support::format_text(is_display ? "d_jt_%d.jt" : "jt_%d.jt", static_cast<std::int32_t>(id));
}

bool BodyExtraction::open_output(const std::string& name, support::OutputFile& output) {
  if (support::is_same_file(name, file_.identity)) {
    report_problem(file_, "can not open output file %s", name.c_str());
    return false;
  }
  if (!output.open(name)) {
    report_problem(file_, "could not open %s", name.c_str());
    return false;
  }
  return true;
}

bool BodyExtraction::copy(std::uint64_t position, std::uint64_t length, support::OutputFile& output) {
  bool written = true;
  bool whole = true;
  stream_.set_position(position);
  while (length > 0) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(length, kCopySize));
    const std::size_t got = stream_.read(piece_.get(), wanted);
    if (!output.write(piece_.get(), got)) written = false;
    progress_.advance(got);
    if (got < wanted) {
      report_problem(file_, "unexpected end of the %s stream", stream_name_);
      whole = false;
      break;
    }
    length -= got;
  }
  if (!output.close()) written = false;
  if (!written) report_problem(file_, "write failed");
  return written && whole;
}

void print_table(JtTable& table) {
  support::print_text("   Id  Offset\n   --  ------\n");
  for (std::uint32_t i = 0; i < table.body_count(); ++i) {
    const JtTableEntry body = table.entry(i);
    support::print(" %llu %llu\n", static_cast<unsigned long long>(body.id),
                   static_cast<unsigned long long>(body.offset));
  }
}

}  // namespace

void list_jt_bodies(InspectFile& file, support::ByteSource& stream, const char* stream_name) {
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
  std::optional<support::ErrorEscape> failure;
  try {
    size = stream.size();
  } catch (const support::ErrorEscape& escape) {
    failure = escape;
  }
  if (table.data_start() > size) {
    report_problem(file, "the table of %u JT bodies does not fit into the %s stream", table.body_count(),
                   stream_name);
    return;
  }
  print_table(table);
  if (file.options.extract_jt && table.body_count() != 0) {
    BodyExtraction(file, stream, stream_name, table, size).run();
  }
  support::print_text("\n");
  if (failure) throw *failure;
}

}  // namespace inspect
