#include "inspect/reading_pass.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_checksum.h"
#include "inspect/records/object_manager_header.h"
#include "inspect/records/part_header_reader.h"
#include "inspect/records/partition_index.h"
#include "inspect/solid/brepsolid_header.h"
#include "inspect/solid/header_lender.h"
#include "inspect/solid/transmit_extraction.h"

namespace inspect {

namespace {

/// The visit of each partition. Those that borrow a header text from a directory still to be read are
/// finished when it is.
class ReadingPass {
 public:
  ReadingPass(InspectFile& file, const PassRequest& request, SolidSink& sink)
      : file_(file),
        checks_(request.checks == PassChecks::all),
        goes_on_(request.damage == PassDamage::ends_partition),
        sink_(sink) {}

  void run() {
    step([this] { read_index(); });
    auto& partitions = file_.records.partitions;
    // By number: a directory header may append the next directory.
    for (std::size_t next = 0; next < partitions.size();) {
      PartitionEntry& partition = partitions[next++];
      step([&] { visit(partition); });
    }
    for (PartitionEntry* partition : waiting_) {
      step([&] { finish_borrower(*partition); });
    }
    file_.reader.set_partition(std::nullopt);
  }

 private:
  template <typename Step>
  void step(Step step) {
    if (goes_on_) {
      attempt(file_, step);
    } else {
      step();
    }
  }

  void read_index() {
    if (file_.records.has_markers) {
      read_partition_index(file_);
    } else {
      start_directory_chain(file_);
    }
  }

  void visit(PartitionEntry& partition) {
    file_.reader.set_partition(partition.id);
    if (check_partition_start(file_, partition)) return;
    if (holds_modeller_data(partition)) {
      visit_modeller_partition(partition);
    } else if (checks_ && begins_with_om_intro(file_, partition)) {
      check_object_manager_checksum(file_, partition);
    }
  }

  void visit_modeller_partition(PartitionEntry& partition) {
    read_brepsolid_partition(file_, partition);
    if (partition.solid->header_saved_here) {
      check(partition);
    } else if (find_header_lender(file_).settled) {
      finish_borrower(partition);
    } else {
      waiting_.push_back(&partition);
    }
  }

  void finish_borrower(PartitionEntry& partition) {
    file_.reader.set_partition(partition.id);
    borrow_brepsolid_header(file_, partition, sink_);
    check(partition);
  }

  void check(const PartitionEntry& partition) {
    if (checks_) check_partition(file_, partition, goes_on_ ? CopyMode::examine : CopyMode::scan, sink_);
  }

  InspectFile& file_;
  bool checks_;
  bool goes_on_;
  SolidSink& sink_;
  std::vector<PartitionEntry*> waiting_;
};

std::size_t memory_of_partitions(const PartRecords& part) {
  constexpr std::size_t kAllocation = 16;
  const auto solids = static_cast<std::size_t>(std::ranges::count_if(
      part.partitions, [](const PartitionEntry& entry) { return entry.solid != nullptr; }));
  // In files without markers the offset of each directory is kept too, in a table that is a quarter full or
  // more.
  const std::size_t entry = sizeof(PartitionEntry) + (part.has_markers ? 0 : 4 * sizeof(std::uint32_t));
  return part.partitions.size() * entry + solids * (sizeof(BrepsolidPartition) + kAllocation);
}

}  // namespace

void read_part(InspectFile& file, std::span<const std::byte> header_copy, const PassRequest& request,
               SolidSink& sink) {
  read_part_header(file, header_copy);
  ReadingPass(file, request, sink).run();
  file.partition_memory = memory_of_partitions(file.records);
}

}  // namespace inspect
