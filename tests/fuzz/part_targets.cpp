#include <string>

#include "inspect/partition_selection.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_checksum.h"
#include "inspect/sections/partition_listing.h"
#include "inspect/solid/brepsolid_header.h"
#include "inspect/solid/transmit_extraction.h"
#include "inspect/vr_inspect_internal.h"
#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/memory_file.h"
#include "tests/support/part_session.h"

namespace fuzz {

using namespace inspect;
using test_support::PartSession;

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

/// Not PartSession::run: who replays cases has taken hold of the streams.
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
  PartitionEntry& entry = file.records.partitions.emplace_back();
  entry.id = 7;
  entry.type = type;
  entry.data = 1;
  return entry;
}

}  // namespace

void run_jt_stream(std::string_view input) {
  Selector selector(input);
  PartSession part{std::string(input)};
  const bool extract = selector.next(8) == 1;
  WrittenBodies written;
  attempt(part.file(), [&] {
    read_jt_bodies(part.file(), *part.file().stream, "JT", part.report(), extract ? &written : nullptr);
  });
}

void run_part_index(std::string_view input) {
  Selector selector(input);
  PartSession part(std::string(input), {.trace = selector.next()});
  const PassChecks checks = selector.next() ? PassChecks::all : PassChecks::none;
  attempt(part.file(), [&] {
    read_part(part.file(), {}, {.checks = checks}, part.report());
    read_part_summary(part.file(), {.display_jt = true}, part.report());
  });
}

void run_object_manager(std::string_view input) {
  Selector selector(input);
  PartSession part(std::string(input), {.trace = selector.next()});
  InspectFile& file = part.file();
  const bool cookies = selector.next();
  file.reader.set_swaps_bytes(selector.next());
  selector.next();  // chooses nothing; the saved cases have it
  file.records.has_markers = selector.next();
  file.records.version = selector.next() ? 14 : 70;
  PartitionEntry& entry = only_partition(file, selector.next() ? kRecordManager : kExpression);
  attempt(file, [&] { check_object_manager_checksum(file, entry); });
  file.stream->set_position(0);
  attempt(file, [&] { read_listed_partition(file, entry, {.cookies = cookies}, part.report()); });
}

void run_brepsolid(std::string_view input) {
  constexpr std::int32_t kTypes[] = {kBrepsolid, kOldBrepsolid, kBrepsolidLatent, kBrepsolidDelta};
  Selector selector(input);
  PartSession part(std::string(input), {.trace = selector.next()});
  InspectFile& file = part.file();
  InspectOptions options;
  options.scan = selector.next();
  options.print_partition.fill(true);
  file.reader.set_swaps_bytes(selector.next());
  file.records.has_markers = true;
  file.records.version = 70;
  PartitionEntry& entry = only_partition(file, kTypes[selector.next(4)]);
  const bool extract = selector.next(8) == 1;
  attempt(file, [&] {
    read_brepsolid_partition(file, entry);
    extract_all_partitions(file, {CopyMode::check}, part.report());
    check_partition(file, entry, CopyMode::scan, part.report());
    if (extract) {
      extract_all_partitions(file, {options.scan ? CopyMode::scan : CopyMode::extract}, part.report());
    }
    list_selected_partitions(file, options, part.report());
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
  support::Console console;
  RunState run{.console = console};
  try {
    inspect_part_file(file.name(), options, run);
  } catch (const FatalEscape&) {  // NOLINT(bugprone-empty-catch): the run of a program would end here.
  }
}

}  // namespace fuzz
