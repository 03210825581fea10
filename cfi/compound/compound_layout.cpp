#include "cfi/compound/compound_layout.h"

#include <algorithm>

#include "cfi/compound/sector_chain.h"
#include "cfi/damage_barrier.h"

namespace VRX::System::CFI {

using namespace compound;

namespace {

/// Calls `add(first, count)` for each run of neighbours among the numbers that it is given one by one.
template <typename Add>
class NeighbourRuns {
 public:
  explicit NeighbourRuns(Add add) : add_(add) {}

  void take(std::uint32_t number) {
    if (count_ > 0 && number == first_ + count_) {
      ++count_;
      return;
    }
    finish();
    first_ = number;
    count_ = 1;
  }
  void finish() {
    if (count_ > 0) add_(first_, count_);
    count_ = 0;
  }

 private:
  Add add_;
  std::uint32_t first_ = 0;
  std::uint32_t count_ = 0;
};

/// Up to where the DIFAT runs in a circle, if it does.
std::uint32_t count_difat_sectors(SectorAllocationTable& table) {
  std::uint32_t count = 0;
  // Writers without a chain leave anything for its first sector.
  if (table.header().difat_sector_count == 0) return 0;
  gets_through([&] {
    while (table.header().holds(table.difat_sector(count))) ++count;
  });
  return count;
}

/// As many sectors of the FAT may be listed, none of them behind a circle; the FAT cannot have more sectors
/// than the file.
std::uint32_t count_fat_places(SectorAllocationTable& table) {
  const auto in_header = static_cast<std::uint32_t>(table.header().difat.size());
  const std::uint64_t listed =
      in_header + std::uint64_t{count_difat_sectors(table)} * (table.links_in_sector() - 1);
  const std::uint32_t most = std::max(in_header, table.header().sector_count);
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(listed, most));
}

}  // namespace

/// Clipped to the file, whose last sector may be cut short.
void CompoundLayout::add_bytes(std::uint64_t offset, std::uint64_t length, std::string_view owner,
                               Protection protection) {
  const std::uint64_t file_size = table_.header().file_size;
  if (length == 0 || offset >= file_size) return;
  sink_.structure({offset, std::min(length, file_size - offset), owner, protection});
}

void CompoundLayout::add_run(const StreamRun& run) {
  const std::uint64_t file_size = table_.header().file_size;
  if (run.length == 0 || run.file_offset >= file_size) return;
  StreamRun clipped = run;
  clipped.length = std::min(run.length, file_size - run.file_offset);
  sink_.stream_run(clipped);
}

void CompoundLayout::add_sectors(std::uint32_t first, std::uint64_t count, std::string_view owner,
                                 Protection protection) {
  add_bytes(table_.header().offset_of(first), count << table_.header().sector_shift, owner, protection);
}

void CompoundLayout::add_tables() {
  const CompoundHeader& header = table_.header();
  add_bytes(0, header.sector_size(), "container.header", Protection::decoded);
  add_difat();
  add_fat();
  gets_through([&] { add_chain(header.first_directory_sector, "container.directory"); });
  if (header.mini_fat_sector_count > 0) {
    gets_through([&] { add_chain(header.first_mini_fat_sector, "container.mini_fat"); });
  }
  add_free_sectors();
}

void CompoundLayout::add_difat() {
  NeighbourRuns runs([&](std::uint32_t first, std::uint32_t count) {
    add_sectors(first, count, "container.difat", Protection::decoded);
  });
  const std::uint32_t count = count_difat_sectors(table_);
  for (std::uint32_t i = 0; i < count; ++i) runs.take(table_.difat_sector(i));
  runs.finish();
}

void CompoundLayout::add_fat() {
  NeighbourRuns runs([&](std::uint32_t first, std::uint32_t count) {
    add_sectors(first, count, "container.fat", Protection::decoded);
  });
  const std::uint32_t places = count_fat_places(table_);
  for (std::uint32_t i = 0; i < places; ++i) {
    const std::uint32_t sector = table_.fat_sector(i);
    if (table_.header().holds(sector)) runs.take(sector);
  }
  runs.finish();
}

/// Only of the FAT that is there: what it does not reach belongs to nobody.
void CompoundLayout::add_free_sectors() {
  NeighbourRuns runs([&](std::uint32_t first, std::uint32_t count) {
    add_sectors(first, count, "container.free_sectors", Protection::unclaimed);
  });
  const std::uint64_t sectors = table_.header().sector_count;
  const std::uint32_t places = count_fat_places(table_);
  for (std::uint32_t i = 0; i < places; ++i) {
    if (!table_.header().holds(table_.fat_sector(i))) continue;
    const std::uint64_t first = std::uint64_t{i} * table_.links_in_sector();
    const std::uint64_t end = std::min(first + table_.links_in_sector(), sectors);
    for (std::uint64_t sector = first; sector < end; ++sector) {
      const auto number = static_cast<std::uint32_t>(sector);
      if (table_.next(number) == kFreeSector) runs.take(number);
    }
  }
  runs.finish();
}

void CompoundLayout::add_chain(std::uint32_t first, std::string_view owner) {
  const SectorChain chain(table_, first, UINT64_MAX);
  if (chain.runs_in_circle()) return;
  for (std::uint64_t i = 0; i < chain.sector_count();) {
    const SectorChain::Piece piece = chain.piece_at(i, chain.sector_count() - i);
    add_sectors(piece.sector, piece.count, owner, Protection::decoded);
    i += piece.count;
  }
}

void CompoundLayout::add_streams(const CompoundDirectory& directory, MiniStream& mini_stream) {
  links_left_ = std::uint64_t{count_fat_places(table_)} * table_.links_in_sector();
  mini_links_left_ = mini_stream.mini_sector_count();
  for (std::uint32_t i = 0; i < directory.size(); ++i) {
    const CompoundElement& stream = directory.element(i);
    if (stream.type != ElementType::stream || stream.size == 0) continue;
    if (stream.size < kMiniStreamCutoff) {
      add_mini_stream(i, stream, mini_stream);
    } else {
      add_stream(i, stream);
    }
  }
  add_free_mini_sectors(mini_stream);
}

void CompoundLayout::add_stream(ElementId id, const CompoundElement& stream) {
  if (links_left_ == 0) return;
  const CompoundHeader& header = table_.header();
  const SectorChain chain(table_, stream.first_sector, header.sectors_for(stream.size));
  links_left_ -= std::min(links_left_, chain.link_count());
  if (chain.runs_in_circle()) return;
  const std::uint64_t size = std::min(stream.size, chain.capacity());
  for (std::uint64_t at = 0; at < size;) {
    const SectorChain::Place place = chain.place_of(at, size - at);
    const std::uint64_t length = std::min(place.adjoining, size - at);
    add_run({id, at, place.offset, length});
    at += length;
    if (at == stream.size) add_slack(place.offset + length, header.sector_size());
  }
}

void CompoundLayout::add_mini_stream(ElementId id, const CompoundElement& stream, MiniStream& mini_stream) {
  if (mini_links_left_ == 0) return;
  const auto sectors = mini_stream.try_follow(stream.first_sector, stream.size);
  if (!sectors) {
    mini_links_left_ -= std::min<std::uint64_t>(mini_links_left_, kMiniStreamCutoff / kMiniSectorSize);
    return;
  }
  mini_links_left_ -= std::min<std::uint64_t>(mini_links_left_, sectors->size());
  StreamRun run = {.stream = id};
  for (std::size_t i = 0; i < sectors->size(); ++i) {
    const std::uint64_t at = i << kMiniSectorShift;
    const auto offset = mini_stream.file_offset(std::uint64_t{(*sectors)[i]} << kMiniSectorShift);
    const std::uint64_t length = std::min<std::uint64_t>(kMiniSectorSize, stream.size - at);
    if (offset != run.file_offset + run.length || at != run.stream_offset + run.length) {
      add_run(run);
      run = {id, at, offset.value_or(0), 0};
    }
    if (offset) run.length += length;
    if (offset && at + length == stream.size) add_slack(*offset + length, kMiniSectorSize);
  }
  add_run(run);
}

void CompoundLayout::add_slack(std::uint64_t end, std::uint32_t sector_size) {
  const std::uint64_t used = end & (sector_size - 1);
  if (used > 0) add_bytes(end, sector_size - used, "container.slack", Protection::unclaimed);
}

/// Those that the mini FAT has for free, and what is left of the last sector.
void CompoundLayout::add_free_mini_sectors(MiniStream& mini_stream) {
  const SectorChain& chain = mini_stream.chain();
  if (chain.runs_in_circle() || chain.sector_count() == 0) return;
  const auto add_place = [&](std::uint64_t first, std::uint64_t end) {
    while (first < end) {
      const SectorChain::Place place = chain.place_of(first, end - first);
      const std::uint64_t length = std::min(place.adjoining, end - first);
      add_bytes(place.offset, length, "container.mini_stream", Protection::unclaimed);
      first += length;
    }
  };
  NeighbourRuns runs([&](std::uint32_t first, std::uint32_t count) {
    add_place(std::uint64_t{first} << kMiniSectorShift, (std::uint64_t{first} + count) << kMiniSectorShift);
  });
  const std::uint32_t count = mini_stream.mini_sector_count();
  for (std::uint32_t i = 0; i < count; ++i) {
    if (mini_stream.is_free(i)) runs.take(i);
  }
  runs.finish();
  add_place(std::uint64_t{count} << kMiniSectorShift, chain.capacity());
}

CompoundFacts compound_facts(SectorAllocationTable& table) {
  const CompoundHeader& header = table.header();
  CompoundFacts facts;
  facts.version = header.major_version;
  facts.sector_size = header.sector_size();
  facts.difat_sectors = count_difat_sectors(table);
  const std::uint32_t places = count_fat_places(table);
  for (std::uint32_t i = 0; i < places; ++i) facts.fat_sectors += header.holds(table.fat_sector(i)) ? 1 : 0;
  gets_through([&] {
    const SectorChain directory(table, header.first_directory_sector, UINT64_MAX);
    facts.directory_entries = directory.capacity() / entry::kSize;
  });
  if (header.mini_fat_sector_count == 0) return facts;
  gets_through([&] {
    facts.mini_fat_sectors = SectorChain(table, header.first_mini_fat_sector, UINT64_MAX).sector_count();
  });
  return facts;
}

}  // namespace VRX::System::CFI
