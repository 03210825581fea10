#pragma once

#include "cfi/container_facts.h"
#include "cfi/container_layout.h"
#include "cfi/file_channel.h"
#include "cfi/kvpm/storage_index.h"

namespace VRX::System::CFI {

/// What can be learned of a file with the maker's signature, whatever is damaged: the footer index is looked
/// at even when the header index cannot be read. Raises 1020059 alone.
KvpmFacts survey_kvpm(FileChannel& channel);

/// The fixed header and the indexes, as far as they were read, inside a file of that many bytes.
void lay_out_tables(const KvpmFacts& facts, std::uint64_t file_size, LayoutSink& sink);

/// The streams, one run each.
void lay_out_streams(const StorageIndex& index, std::uint64_t file_size, LayoutSink& sink);

/// Streams that lie over one another or over the container's own ranges, and paths listed twice. Takes up to
/// 16 bytes of memory for each entry of the index.
LayoutFaults find_layout_faults(const StorageIndex& index, const KvpmFacts& facts, std::uint64_t file_size);

}  // namespace VRX::System::CFI
