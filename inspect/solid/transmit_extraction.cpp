#include "inspect/solid/transmit_extraction.h"

#include <map>
#include <optional>
#include <set>
#include <string>

#include "inspect/records/inspect_errors.h"
#include "inspect/solid/brepsolid_header.h"
#include "inspect/solid/data_block_copy.h"
#include "inspect/solid/header_keywords.h"
#include "inspect/solid/transmit_file.h"
#include "inspect/solid/transmit_names.h"
#include "support/printable.h"

namespace inspect {

namespace {

/// Extracts or checks partitions of one file, and remembers which names it has written.
class Extractor {
 public:
  Extractor(InspectFile& file, const ExtractionRequest& request, SolidSink& sink)
      : file_(file), request_(request), sink_(sink) {}

  /// True when nothing was found.
  bool extract(const PartitionEntry& entry, AppendId append);

 private:
  bool skip_reference(const PartitionEntry& entry) const;
  TransmitFormat read_format(std::int32_t type, const std::string& header);
  bool write_files(const PartitionEntry& entry, const TransmitFormat& format, const std::string& header,
                   AppendId append);
  TransmitFile open(const std::string& name, const PartitionEntry& entry);
  bool copy_blocks(const PartitionEntry& entry, bool binary, TransmitFile* main, TransmitFile* second);
  bool copy_block(const PartitionEntry& entry, std::uint64_t length, bool binary, TransmitFile* output);

  InspectFile& file_;
  const ExtractionRequest& request_;
  SolidSink& sink_;
  std::map<std::string, std::int32_t> written_;  ///< file name to partition id
};

bool Extractor::skip_reference(const PartitionEntry& entry) const {
  const std::uint32_t flags = entry.solid->flags;
  if ((flags & kReferenceFlag) == 0) return false;
  if (request_.mode == CopyMode::extract) {
    sink_.take_skipped_reference({entry, (flags & kPseudoReferenceFlag) != 0});
  }
  return true;
}

TransmitFormat Extractor::read_format(std::int32_t type, const std::string& header) {
  const auto show = [](std::string_view text) { return support::printable(text, support::KeepLayout::yes); };
  const std::optional<std::string_view> value = transmit_format_of(header);
  if (Trace* trace = file_.reader.trace()) {
    trace->print("BS Header:\n%s\n", show(header).c_str());
    trace->print("BS File format:\n%s\n", show(value.value_or("unknown, assuming binary")).c_str());
  }
  return transmit_format(file_, type, value);
}

bool Extractor::extract(const PartitionEntry& entry, AppendId append) {
  if (skip_reference(entry)) return true;
  const std::string header = read_header_text(file_, *entry.solid);
  const TransmitFormat format = read_format(entry.type, header);
  file_.reader.move_to(entry.solid->data_position);
  if (request_.mode != CopyMode::extract) return copy_blocks(entry, format.binary, nullptr, nullptr);
  return write_files(entry, format, header, append);
}

/// A name that this run has written before is written anew: that must not pass unseen.
TransmitFile Extractor::open(const std::string& name, const PartitionEntry& entry) {
  TransmitFile output(file_, name);
  const auto [place, is_new] = written_.try_emplace(name, entry.id);
  if (!is_new) {
    support::Finding replaced;
    replaced.rule = Rule::output_replaced;
    replaced.manner = support::Manner::notice;
    replaced.place.partition = entry.id;
    report_finding(file_, std::move(replaced), "file %s of partition %d is replaced by partition %d",
                   support::printable(name).c_str(), place->second, entry.id);
    place->second = entry.id;
  }
  return output;
}

bool Extractor::write_files(const PartitionEntry& entry, const TransmitFormat& format,
                            const std::string& header, AppendId append) {
  const TransmitNames names = transmit_names(file_, request_.output_name, entry.id, format, append);
  TransmitFile main = open(names.main, entry);
  if (entry.type != kBrepsolidDelta) main.write(header.data(), header.size());
  std::optional<TransmitFile> second;
  if (entry.solid->bits.second_size != 0) {
    second.emplace(open(names.second, entry));
    second->write(header.data(), header.size());
  }
  return copy_blocks(entry, format.binary, &main, second ? &*second : nullptr);
}

bool Extractor::copy_blocks(const PartitionEntry& entry, bool binary, TransmitFile* main,
                            TransmitFile* second) {
  const BrepsolidHeaderBits& bits = entry.solid->bits;
  const bool sound = copy_block(entry, bits.rest_size, binary, main);
  if (bits.second_size == 0) return sound;
  return copy_block(entry, bits.second_size, binary, second) && sound;
}

bool Extractor::copy_block(const PartitionEntry& entry, std::uint64_t length, bool binary,
                           TransmitFile* output) {
  const BrepsolidHeaderBits& bits = entry.solid->bits;
  const DataBlock block = {length, bits.compressed, bits.wide_sizes, binary};
  return copy_data_block(file_, entry, block, request_.mode, output, sink_);
}

bool is_readable(const PartitionEntry& entry) {
  return !entry.data_zero && !entry.truncated && entry.solid != nullptr;
}

/// The partitions that -extract can name; of several with one id the first.
class PartitionsById {
 public:
  explicit PartitionsById(const InspectFile& file) {
    for (const PartitionEntry& entry : file.records.partitions) {
      if (is_in_set(entry.type, kModellerSet) && is_readable(entry)) entries_.try_emplace(entry.id, &entry);
    }
  }

  const PartitionEntry* find(std::int32_t id) const {
    const auto found = entries_.find(id);
    return found != entries_.end() ? found->second : nullptr;
  }

 private:
  std::map<std::int32_t, const PartitionEntry*> entries_;
};

/// The id that comes next in the chain; 0 at its end.
std::int32_t linked_id(const PartitionEntry& entry) {
  return is_in_set(entry.type, kLinkingSet) ? entry.solid->bits.linked_partition_id : 0;
}

/// Bodies first, deltas in a pass of their own.
bool run_all(InspectFile& file, const ExtractionRequest& request, SolidSink& sink) {
  file.budgets.inflated_bytes = 0;
  Extractor extractor(file, request, sink);
  bool sound = true;
  for (const PartitionSet set : {kExtractAllSet, kExtractAllLastSet}) {
    for (const PartitionEntry& entry : file.records.partitions) {
      if (entry.data_zero || !is_in_set(entry.type, set)) continue;
      if (!is_readable(entry)) {
        // Reported when it was read; there is nothing to check, but something is not extracted.
        sound = sound && request.mode != CopyMode::extract;
        continue;
      }
      const AppendId append = entry.type == kOldBrepsolid ? AppendId::no : AppendId::yes;
      sound = extractor.extract(entry, append) && sound;
    }
  }
  return sound;
}

}  // namespace

std::int32_t extract_partition(InspectFile& file, const ExtractionRequest& request, std::int32_t id,
                               SolidSink& sink) {
  Extractor extractor(file, request, sink);
  const PartitionsById partitions(file);
  file.budgets.inflated_bytes = 0;
  std::set<std::int32_t> seen;
  std::int32_t settled = id;
  for (std::int32_t wanted = id; wanted != 0;) {
    if (!seen.insert(wanted).second) {
      report_problem(file, Rule::solid_link_chain, "the chain of linked partitions comes back to id %d",
                     wanted);
      break;
    }
    const PartitionEntry* entry = partitions.find(wanted);
    if (entry == nullptr) {
      report_problem(file, Rule::solid_not_found, "no Brepsolid partition with id %d can be extracted",
                     wanted);
      break;
    }
    settled = wanted;
    extractor.extract(*entry, AppendId::no);
    wanted = linked_id(*entry);
  }
  return settled;
}

bool extract_all_partitions(InspectFile& file, const ExtractionRequest& request, SolidSink& sink) {
  return run_all(file, request, sink);
}

bool check_partition(InspectFile& file, const PartitionEntry& entry, CopyMode mode, SolidSink& sink) {
  if (!is_readable(entry)) return true;
  const ExtractionRequest request = {mode, {}};
  return Extractor(file, request, sink).extract(entry, AppendId::no);
}

}  // namespace inspect
