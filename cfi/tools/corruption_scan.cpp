#include "cfi/tools/corruption_scan.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "cfi/cfi_error_codes.h"
#include "cfi/file_channel.h"
#include "cfi/storage_file.h"
#include "support/progress.h"

namespace cfi_tools {

namespace {

using VRX::System::CFI::FileChannel;
using VRX::System::CFI::FileKind;
using Kind = ScanFindingKind;

constexpr std::size_t kBlockSize = 8192;
constexpr std::size_t kReadSize = 32 * kBlockSize;  // stays in the cache of a core from the copy to the count
constexpr std::size_t kLeadSize = 64;               // keeps the data aligned behind the byte carried over
constexpr std::int32_t kFirstTerminatedVersion = 15;
constexpr unsigned char kTerminator = 0xff;
constexpr std::uint64_t kDiskBlockSize = 256;

class Scan {
 public:
  Scan(const CorruptionScanRequest& request, FileChannel& channel, CorruptionScanSink& sink)
      : request_(request),
        channel_(channel),
        sink_(sink),
        is_storage_file_(recognise(channel) != FileKind::flat),
        buffer_(std::make_unique_for_overwrite<unsigned char[]>(kLeadSize + kReadSize)) {}

  ScanVerdict run();

 private:
  void read_blocks();
  std::optional<std::size_t> read_piece(std::uint64_t offset, std::size_t count);
  void take_block(const unsigned char* block, std::size_t count);
  void report_zero_blocks();
  void finish_zero_blocks();
  void check_terminator();
  void check_line_feeds();
  void check_carriage_returns();
  void check_zeroes();

  bool has_nonzero() const { return counts_.zeroes < total_; }

  void find(const ScanFinding& finding) {
    sink_.finding(finding);
    corrupt_ = true;
  }

  const CorruptionScanRequest& request_;
  FileChannel& channel_;
  CorruptionScanSink& sink_;
  bool is_storage_file_;
  std::unique_ptr<unsigned char[]> buffer_;
  ByteCounts counts_;
  std::uint64_t total_ = 0;
  unsigned char last_byte_ = 0;
  std::uint64_t zero_blocks_ = 0;  ///< of the series that is open; 0 none
  std::uint64_t zero_blocks_offset_ = 0;
  bool corrupt_ = false;
};

ScanVerdict Scan::run() {
  read_blocks();
  finish_zero_blocks();
  sink_.statistics(counts_);
  if (!is_storage_file_ && request_.version >= kFirstTerminatedVersion) check_terminator();
  if (request_.version != CorruptionScanRequest::kVersionNotRead) {
    check_line_feeds();
    check_carriage_returns();
  }
  check_zeroes();
  const ScanVerdict verdict = corrupt_ ? ScanVerdict::corrupt : ScanVerdict::clean;
  sink_.end(verdict);
  return verdict;
}

void Scan::read_blocks() {
  unsigned char* const data = buffer_.get() + kLeadSize;
  data[-1] = 0;
  support::ProgressLine progress(request_.console, request_.file_name, channel_.size());
  for (std::uint64_t left = channel_.size(); left > 0;) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, kReadSize));
    const std::optional<std::size_t> got = read_piece(total_, wanted);
    if (!got) return find({Kind::read_failed});
    for (std::size_t at = 0; at < *got; at += kBlockSize)
      take_block(data + at, std::min(kBlockSize, *got - at));
    if (*got < wanted) return find({Kind::unexpected_end});
    data[-1] = last_byte_;
    left -= *got;
    progress.advance(*got);
  }
}

/// No value when the system cannot read; fewer bytes when the file has become shorter.
std::optional<std::size_t> Scan::read_piece(std::uint64_t offset, std::size_t count) {
  try {
    return channel_.read_at(offset, buffer_.get() + kLeadSize, count);
  } catch (const support::ErrorEscape&) {
    return std::nullopt;
  }
}

void Scan::take_block(const unsigned char* block, std::size_t count) {
  const ByteCounts counts = count_bytes(block, count);
  counts_ += counts;
  total_ += count;
  last_byte_ = block[count - 1];
  if (counts.zeroes < count) {
    if (zero_blocks_ > 0) report_zero_blocks();
  } else if (count == kBlockSize) {
    if (zero_blocks_ == 0) zero_blocks_offset_ = total_ - kBlockSize;
    ++zero_blocks_;
  }
}

void Scan::report_zero_blocks() {
  find({Kind::zero_blocks, zero_blocks_offset_, kBlockSize * zero_blocks_});
  zero_blocks_ = 0;
}

void Scan::finish_zero_blocks() {
  if (zero_blocks_ == 0) return;
  if (has_nonzero()) return report_zero_blocks();
  find({Kind::only_zeroes});
}

void Scan::check_terminator() {
  if (total_ > 0 && last_byte_ == kTerminator) return;
  find({Kind::not_terminated});
  if (total_ % kDiskBlockSize == 0) find({Kind::ends_on_block_boundary});
}

void Scan::check_line_feeds() {
  const std::uint64_t count = counts_.line_feeds;
  if (count == 0) {
    find({Kind::no_line_feeds});
  } else if (count == counts_.crlf_pairs || count == counts_.lfcr_pairs) {
    find({Kind::returns_on_all_line_feeds});
  }
}

void Scan::check_carriage_returns() {
  const std::uint64_t count = counts_.carriage_returns;
  if (count == 0) {
    find({Kind::no_carriage_returns});
  } else if (count == counts_.crlf_pairs || count == counts_.lfcr_pairs) {
    find({Kind::line_feeds_on_all_returns});
  }
}

void Scan::check_zeroes() {
  if (counts_.zeroes == 0) find({Kind::no_zero_bytes});
}

}  // namespace

ScanVerdict scan_for_corruption(FileChannel& channel, const CorruptionScanRequest& request,
                                CorruptionScanSink& sink) {
  sink.begin();
  return Scan(request, channel, sink).run();
}

ScanVerdict scan_for_corruption(const CorruptionScanRequest& request, CorruptionScanSink& sink) {
  sink.begin();
  std::optional<FileChannel> channel;
  try {
    channel.emplace(request.file_name);
  } catch (const support::ErrorEscape&) {
    return request.silent ? ScanVerdict::clean : ScanVerdict::not_opened;
  }
  return Scan(request, *channel, sink).run();
}

}  // namespace cfi_tools
