#include "cfi/kvpm/kvpm_layout.h"

#include <algorithm>
#include <vector>

#include "cfi/damage_barrier.h"
#include "cfi/file_container.h"
#include "cfi/kvpm/index_reader.h"

namespace VRX::System::CFI {

namespace {

constexpr std::uint64_t kChecksumSize = 4;

void read_lone_index(FileContainer& in, IndexArea area, KvpmFacts& facts) {
  StorageIndex index;
  std::vector<std::byte> part_header;
  read_index(in, area, facts, index, part_header);
}

/// Hands over the part of a range that lies inside the file.
class ClippedRanges {
 public:
  ClippedRanges(std::uint64_t file_size, LayoutSink& sink) : file_size_(file_size), sink_(sink) {}

  void add(std::uint64_t offset, std::uint64_t length, std::string_view owner, Protection protection) {
    if (offset >= file_size_ || length == 0) return;
    sink_.structure({offset, std::min(length, file_size_ - offset), owner, protection});
  }

  void add_index(const std::optional<IndexFacts>& index, std::string_view owner,
                 std::string_view checksum_owner) {
    if (!index) return;
    if (!index->is_whole) return add(index->offset, index->length, owner, Protection::failed);
    if (!index->xxh32_stored) return add(index->offset, index->length, owner, Protection::decoded);
    const Protection protection = index->matches() ? Protection::verified : Protection::failed;
    const std::uint64_t length = index->length - kChecksumSize;
    add(index->offset, length, owner, protection);
    add(index->offset + length, kChecksumSize, checksum_owner, protection);
  }

 private:
  std::uint64_t file_size_;
  LayoutSink& sink_;
};

}  // namespace

KvpmFacts survey_kvpm(FileChannel& channel) {
  KvpmFacts facts;
  FileContainer in(channel, kVersionOffset);
  if (!gets_through([&] { read_fixed_header(in, facts); })) return facts;
  gets_through([&] { read_lone_index(in, IndexArea::header, facts); });
  if (*facts.footer_offset >= 0) {
    FileContainer footer(channel, static_cast<std::uint64_t>(*facts.footer_offset));
    gets_through([&] { read_lone_index(footer, IndexArea::footer, facts); });
  }
  return facts;
}

void lay_out_tables(const KvpmFacts& facts, std::uint64_t file_size, LayoutSink& sink) {
  constexpr std::uint64_t kVersionSize = 1;
  constexpr std::uint64_t kOffsetSize = 8;
  ClippedRanges ranges(file_size, sink);
  ranges.add(0, support::kSignatureSize, "container.signature", Protection::decoded);
  if (!facts.format_version) return;
  ranges.add(kVersionOffset, kVersionSize, "container.format_version", Protection::decoded);
  std::uint64_t next = kVersionOffset + kVersionSize;
  if (facts.fast_load_end) {
    ranges.add(next, kOffsetSize, "container.fast_load_end", Protection::decoded);
    next += kOffsetSize;
  }
  if (facts.footer_offset) ranges.add(next, kOffsetSize, "container.footer_offset", Protection::decoded);
  ranges.add_index(facts.header_index, "container.header_index", "container.header_index.xxh32");
  ranges.add_index(facts.footer_index, "container.footer_index", "container.footer_index.xxh32");
}

void lay_out_streams(const StorageIndex& index, std::uint64_t file_size, LayoutSink& sink) {
  for (std::uint32_t number = 0; number < index.size(); ++number) {
    const IndexEntry entry = index.entry(number);
    if (entry.is_storage() || entry.size() == 0 || entry.offset() >= file_size) continue;
    sink.stream_run({StorageIndex::listed(number), 0, entry.offset(),
                     std::min(entry.size(), file_size - entry.offset())});
  }
}

}  // namespace VRX::System::CFI
