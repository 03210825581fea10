#include "cfi/tools/stream_extraction.h"

#include <cstddef>
#include <deque>
#include <span>
#include <string_view>

#include "cfi/storage_reader.h"
#include "support/byte_copy.h"
#include "support/error_escape.h"
#include "support/output_file.h"
#include "support/printable.h"
#include "support/progress.h"
#include "support/text_format.h"

namespace cfi_tools {

namespace {

using VRX::System::CFI::StorageElement;
using VRX::System::CFI::StorageReader;
using VRX::System::CFI::StreamReader;

constexpr std::size_t kCopySize = std::size_t{1024} * 1024;
constexpr int kExtractionFailure = 641001;

/// Open storages, each inside the one before, closed in reverse order.
class StorageStack {
 public:
  explicit StorageStack(VRX::System::CFI::StorageFile& file) : root_(file) {}
  ~StorageStack() {
    while (!storages_.empty()) storages_.pop_back();
  }
  StorageStack(const StorageStack&) = delete;
  StorageStack& operator=(const StorageStack&) = delete;

  const StorageElement& innermost() const {
    if (storages_.empty()) return root_;
    return storages_.back();
  }
  void enter(std::string_view name) { storages_.emplace_back(innermost(), name); }

 private:
  StorageElement root_;
  std::deque<StorageReader> storages_;
};

support::ErrorEscape failure(std::string message) {
  return {"vr_inspect_internal", kExtractionFailure, std::move(message)};
}

void open_output(const std::string& name, const support::FileIdentity& part, support::OutputFile& output) {
  if (output.open(name, part)) return;
  const std::string shown = support::printable(name);
  if (output.was_refused()) throw failure(support::format_text("can not open output file %s", shown.c_str()));
  throw failure(support::format_text("can not open %s\n", shown.c_str()));
}

support::ErrorEscape incomplete(const char* reason, const std::string& output_name) {
  return failure(support::format_text("%s\n output file %s is incomplete", reason,
                                      support::printable(output_name).c_str()));
}

/// The number of bytes copied.
std::uint64_t copy(StreamReader& stream, support::OutputFile& output, const std::string& output_name,
                   support::ProgressLine& progress) {
  const std::uint64_t copied =
      support::copy_bytes([&](void* piece, std::size_t count) { return stream.read(piece, count); },
                          [&](std::span<const std::byte> bytes) {
                            if (!output.write(bytes.data(), bytes.size())) throw failure("write failed");
                            progress.advance(bytes.size());
                          },
                          kCopySize);
  if (!output.close()) throw incomplete("write failed", output_name);
  return copied;
}

}  // namespace

void extract_stream(VRX::System::CFI::StorageFile& file, const StreamExtraction& wanted) {
  StorageStack storages(file);
  std::string_view rest = wanted.stream_path;
  for (std::size_t slash = rest.find('/'); slash != std::string_view::npos; slash = rest.find('/')) {
    storages.enter(rest.substr(0, slash));
    rest.remove_prefix(slash + 1);
  }
  StreamReader stream(storages.innermost(), rest);
  support::OutputFile output(wanted.console);
  open_output(wanted.output_name, wanted.part, output);
  support::ProgressLine progress(wanted.console, wanted.part_name, stream.size());
  const std::uint64_t recorded = stream.stats().size;
  const std::uint64_t copied = copy(stream, output, wanted.output_name, progress);
  if (copied == recorded) return;
  const std::string reason =
      support::format_text("stream %s has %llu bytes, of which %llu are there",
                           support::printable(wanted.stream_path).c_str(), recorded + 0ULL, copied + 0ULL);
  throw incomplete(reason.c_str(), wanted.output_name);
}

}  // namespace cfi_tools
