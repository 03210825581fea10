#pragma once

#include <cstdint>
#include <string_view>

#include "cfi/compound/compound_directory.h"
#include "cfi/compound/mini_stream.h"
#include "cfi/compound/sector_allocation_table.h"
#include "cfi/container_facts.h"
#include "cfi/container_layout.h"

namespace VRX::System::CFI {

/// Hands over who owns which sectors of a compound file. The chains of all streams together are followed for
/// as many links as the FAT holds, those in the mini stream for as many as it has mini sectors: streams
/// beyond that share theirs, and are left out.
class CompoundLayout {
 public:
  CompoundLayout(SectorAllocationTable& table, LayoutSink& sink) : table_(table), sink_(sink) {}

  /// Header, DIFAT, FAT, directory, mini FAT, and the sectors that the FAT has for free.
  void add_tables();

  /// The streams of a directory, and of the mini stream what none of them has. One whose chain runs in a
  /// circle is left out.
  void add_streams(const CompoundDirectory& directory, MiniStream& mini_stream);

 private:
  void add_difat();
  void add_fat();
  void add_free_sectors();
  void add_chain(std::uint32_t first, std::string_view owner);
  void add_stream(ElementId id, const CompoundElement& stream);
  void add_mini_stream(ElementId id, const CompoundElement& stream, MiniStream& mini_stream);
  void add_free_mini_sectors(MiniStream& mini_stream);
  void add_slack(std::uint64_t end, std::uint32_t sector_size);
  void add_sectors(std::uint32_t first, std::uint64_t count, std::string_view owner, Protection protection);
  void add_bytes(std::uint64_t offset, std::uint64_t length, std::string_view owner, Protection protection);
  void add_run(const StreamRun& run);

  SectorAllocationTable& table_;
  LayoutSink& sink_;
  std::uint64_t links_left_ = 0;
  std::uint64_t mini_links_left_ = 0;
};

/// Counts the sectors and directory entries of a compound file; what cannot be followed counts as far as it
/// goes.
CompoundFacts compound_facts(SectorAllocationTable& table);

/// Names that a storage has twice, as names compare.
LayoutFaults find_equal_names(const CompoundDirectory& directory);

}  // namespace VRX::System::CFI
