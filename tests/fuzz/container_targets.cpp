#include <cstdlib>
#include <span>
#include <vector>

#include "cfi/compound/microsoft_storage_file.h"
#include "cfi/expanded_source.h"
#include "cfi/kvpm/kvpm_storage_file.h"
#include "cfi/tools/feature_toggles.h"
#include "cfi/tools/storage_listing.h"
#include "inspect/report/feature_toggles_text.h"
#include "inspect/report/storage_listing_text.h"
#include "support/error_escape.h"
#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/layout_guard.h"
#include "tests/support/memory_file.h"

namespace fuzz {

using namespace VRX::System::CFI;

namespace {

// Enough to reach every part of the readers; what repeats beyond it only costs time.
constexpr std::size_t kMostElements = 2000;
constexpr std::size_t kMostStreamBytes = std::size_t{1} << 18U;

void read_stream(StorageFile& file, ElementId stream) {
  const auto source = file.open_stream(stream);
  std::vector<char> piece(10000);
  std::size_t total = 0;
  while (const std::size_t got = source->read(piece.data(), piece.size())) {
    total += got;
    if (total > kMostStreamBytes) break;
  }
  if (source->size() > 0) source->set_position(source->size() - 1);
  source->read(piece.data(), 2);
}

/// Runs one step; its escape is what the next step must bear.
template <typename Step>
void attempt(Step step) {
  try {
    step();
  } catch (const support::ErrorEscape&) {
    return;
  }
}

void walk(StorageFile& file) {
  attempt([&] { file.is_truncated(); });
  attempt([&] { find_stream_by_name(file, "JT"); });
  std::vector<ElementId> to_visit = {kRootElement};
  for (std::size_t visited = 0; !to_visit.empty() && visited < kMostElements; ++visited) {
    const ElementId element = to_visit.back();
    to_visit.pop_back();
    attempt([&] {
      const ElementRecord record = file.record(element);
      if (record.type == ElementType::stream) {
        read_stream(file, element);
        return;
      }
      file.find_child(element, record.name);
      const std::vector<ElementId> children = file.children(element);
      to_visit.insert(to_visit.end(), children.begin(), children.end());
    });
  }
  attempt([&] { file.is_truncated(); });
}

/// Nothing may be said of bytes that the file does not have.
void lay_out(FileChannel& channel) {
  test_support::LayoutGuard guard(channel.size());
  try {
    if (const auto file = open_storage_file(channel)) {
      file->lay_out(guard);
      file->facts();
      file->layout_faults();
    }
  } catch (const support::ErrorEscape&) {
    lay_out_damaged(channel, guard);
  }
  if (!guard.all_inside()) std::abort();
}

template <typename Format>
void walk_and_list(std::string_view input) {
  const test_support::MemoryFile memory(input);
  attempt([&] {
    FileChannel channel(memory.name());
    Format file(channel);
    walk(file);
  });
  attempt([&] {
    FileChannel channel(memory.name());
    support::Console console;
    inspect::StorageListingText text(console);
    if (const auto file = open_storage_file(channel)) cfi_tools::list_storages(*file, text);
  });
  attempt([&] {
    FileChannel channel(memory.name());
    lay_out(channel);
  });
}

}  // namespace

void run_kvpm_container(std::string_view input) { walk_and_list<KVPMStorageFile>(input); }

void run_compound_file(std::string_view input) { walk_and_list<MicrosoftStorageFile>(input); }

void run_lz4_stream(std::string_view input) {
  if (input.empty()) return;
  const auto selector = static_cast<unsigned char>(input[0]);
  const std::size_t piece_size = std::size_t{1} << (selector % 18U);
  support::MemorySource inner(std::as_bytes(std::span(input.substr(1))));
  ExpandedSource source(inner, "fuzzed");
  std::vector<char> piece(piece_size);
  attempt([&] {
    std::size_t total = 0;
    while (const std::size_t got = source.read(piece.data(), piece.size())) {
      total += got;
      if (total > 4 * kMostStreamBytes) return;
    }
  });
  attempt([&] {
    const std::uint64_t size = source.size();
    source.set_position(size / 2);
    source.read(piece.data(), piece.size());
  });
  if (selector < 18 * 13) return;  // writing a file costs time
  inner.set_position(0);
  attempt([&] { expand_to_temporary_file(inner, "fuzzed", inner.size()); });
}

void run_toggle_stream(std::string_view input) {
  support::MemorySource source(std::as_bytes(std::span(input)));
  attempt([&] {
    support::Console console;
    inspect::FeatureTogglesText text(console);
    cfi_tools::read_feature_toggles(source, text);
  });
}

}  // namespace fuzz
