#include <memory>
#include <string>
#include <utility>

#include "inspect/reading_pass.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/report/part_summary.h"
#include "inspect/report/partition_printers.h"
#include "inspect/sections/jt_bodies.h"
#include "inspect/solid/brepsolid_header.h"
#include "inspect/solid/object_manager_checksum.h"
#include "inspect/solid/transmit_extraction.h"
#include "inspect/vr_inspect_internal.h"
#include "support/error_escape.h"
#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/memory_file.h"
#include "tests/support/part_reading.h"

namespace fuzz {

using namespace inspect;
using test_support::PartReading;

namespace {

/// The bits of the first byte of an input, taken one after the other.
class Selector {
 public:
  explicit Selector(std::string_view& input) {
    if (input.empty()) return;
    bits_ = static_cast<unsigned char>(input[0]);
    input.remove_prefix(1);
  }
  bool next() { return next(2) != 0; }
  unsigned next(unsigned choices) {
    const unsigned chosen = bits_ % choices;
    bits_ /= choices;
    return chosen;
  }

 private:
  unsigned bits_ = 0;
};

template <typename Step>
void attempt(InspectFile& file, Step step) {
  try {
    step();
  } catch (const support::ErrorEscape& escape) {
    report_escape(file, escape);
  }
}

/// A part whose stream is one partition and nothing else.
PartitionEntry& only_partition(InspectFile& file, std::int32_t type) {
  PartitionEntry& entry = file.partitions.emplace_back();
  entry.id = 7;
  entry.type = type;
  entry.data = 1;
  return entry;
}

}  // namespace

void run_jt_stream(std::string_view input) {
  Selector selector(input);
  PartReading part{std::string(input)};
  part.options.extract_jt = selector.next(8) == 1;
  WrittenBodies written;
  attempt(part.file, [&] { list_jt_bodies(part.file, *part.file.stream, "JT", &written); });
}

void run_part_index(std::string_view input) {
  Selector selector(input);
  PartReading part{std::string(input)};
  part.options.trace = selector.next();
  part.options.scan = selector.next();
  part.options.print_full_extra = selector.next();
  attempt(part.file, [&] {
    read_part(part.file, {});
    print_part_summary(part.file);
  });
}

void run_object_manager(std::string_view input) {
  Selector selector(input);
  PartReading part{std::string(input)};
  part.options.trace = selector.next();
  part.options.print_cookies = selector.next();
  part.file.swap_bytes = selector.next();
  part.file.rm_layout = selector.next();
  part.file.has_markers = selector.next();
  part.file.release = selector.next() ? 14 : 70;
  PartitionEntry& entry = only_partition(part.file, selector.next() ? kRecordManager : kExpression);
  attempt(part.file, [&] { check_object_manager_checksum(part.file, entry, part.options.trace); });
  part.file.stream->set_position(0);
  attempt(part.file, [&] { print_partition_contents(part.file, entry, PartitionListing::contents); });
}

void run_brepsolid(std::string_view input) {
  constexpr std::int32_t kTypes[] = {kBrepsolid, kOldBrepsolid, kBrepsolidLatent, kBrepsolidDelta};
  Selector selector(input);
  PartReading part{std::string(input)};
  part.options.trace = selector.next();
  part.options.scan = selector.next();
  part.options.print_partition.fill(true);
  part.file.swap_bytes = selector.next();
  part.file.has_markers = true;
  part.file.release = 70;
  PartitionEntry& entry = only_partition(part.file, kTypes[selector.next(4)]);
  const bool extract = selector.next(8) == 1;
  attempt(part.file, [&] {
    read_brepsolid_partition(part.file, entry, part.options.trace);
    check_all_partitions(part.file);
    check_scanned_partition(part.file, entry);
    if (extract) extract_all_partitions(part.file);
    print_partitions(part.file);
  });
}

void run_driver(std::string_view input) {
  Selector selector(input);
  InspectOptions options;
  options.print_summary = selector.next();
  options.print_full_extra = options.compatibility = options.feature_toggle_info = options.print_summary;
  options.trace = options.print_extref = options.print_summary;
  options.scan = selector.next();
  options.check_checksums = selector.next();
  options.print_storages = selector.next();
  const bool listings = selector.next();
  options.print_partition.fill(listings);
  options.print_cookies = listings;
  options.refs_level = listings ? 2 : 0;
  options.extract_all = options.extract_jt = selector.next(8) == 1;
  const test_support::MemoryFile file(input);
  inspect_part_file(file.name().c_str(), options, FatalErrors::escape);
}

}  // namespace fuzz
