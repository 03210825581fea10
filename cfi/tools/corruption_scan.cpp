#include "cfi/tools/corruption_scan.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "cfi/cfi_error_codes.h"
#include "cfi/file_channel.h"
#include "cfi/storage_file.h"
#include "cfi/tools/byte_counts.h"
#include "support/console.h"
#include "support/progress.h"

namespace cfi_tools {

namespace {

using VRX::System::CFI::FileChannel;
using VRX::System::CFI::FileKind;

constexpr std::size_t kBlockSize = 8192;
constexpr std::size_t kReadSize = 128 * kBlockSize;  // fewer system calls weigh more than a smaller cache
constexpr std::size_t kLeadSize = 64;                // keeps the data aligned behind the byte carried over
constexpr std::int32_t kFirstTerminatedVersion = 15;
constexpr unsigned char kTerminator = 0xff;
constexpr std::uint64_t kDiskBlockSize = 256;

constexpr const char* kTransferLine = "    This might be the result of some network transfer problem\n";
constexpr const char* kTextFileLine =
    "     This is often the result of treating the part as if it were a text file\n";

class Scan {
 public:
  Scan(const CorruptionScanRequest& request, FileChannel& channel)
      : request_(request),
        channel_(channel),
        is_storage_file_(recognise(channel) != FileKind::flat),
        buffer_(std::make_unique_for_overwrite<unsigned char[]>(kLeadSize + kReadSize)) {}

  ScanVerdict run();

 private:
  void read_blocks();
  std::optional<std::size_t> read_piece(std::uint64_t offset, std::size_t count);
  void take_block(const unsigned char* block, std::size_t count);
  void report_zero_blocks();
  void finish_zero_blocks();
  void print_statistics() const;
  void check_terminator();
  void check_line_feeds();
  void check_carriage_returns();
  void check_zeroes();

  bool has_nonzero() const { return counts_.zeroes < total_; }

  void find(const char* text) {
    support::print_text(text);
    corrupt_ = true;
  }

  const CorruptionScanRequest& request_;
  FileChannel& channel_;
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
  if (request_.statistics) print_statistics();
  if (!is_storage_file_ && request_.version >= kFirstTerminatedVersion) check_terminator();
  if (request_.version != CorruptionScanRequest::kVersionNotRead) {
    check_line_feeds();
    check_carriage_returns();
  }
  check_zeroes();
  if (corrupt_) return ScanVerdict::corrupt;
  if (!request_.silent && request_.scan_requested) {
    support::print_text("Found no known file copying corruptions\n");
  }
  return ScanVerdict::clean;
}

void Scan::read_blocks() {
  unsigned char* const data = buffer_.get() + kLeadSize;
  data[-1] = 0;
  support::ProgressLine progress(request_.file_name, channel_.size());
  for (std::uint64_t left = channel_.size(); left > 0;) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, kReadSize));
    const std::optional<std::size_t> got = read_piece(total_, wanted);
    if (!got) return find("Trouble reading file while scanning for corruptions\n");
    for (std::size_t at = 0; at < *got; at += kBlockSize)
      take_block(data + at, std::min(kBlockSize, *got - at));
    if (*got < wanted) return find("Unexpected EOF while scanning for corruptions\n");
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
  support::print("*** Detected possible corruption: zero block size %llu found at offset %llu\n",
                 kBlockSize * static_cast<unsigned long long>(zero_blocks_),
                 static_cast<unsigned long long>(zero_blocks_offset_));
  support::print_text(kTransferLine);
  corrupt_ = true;
  zero_blocks_ = 0;
}

void Scan::finish_zero_blocks() {
  if (zero_blocks_ == 0) return;
  if (has_nonzero()) return report_zero_blocks();
  find("*** Detected unrecoverable corruption: file only contains zero bytes\n");
  support::print_text(kTransferLine);
}

void Scan::print_statistics() const {
  const auto line = [](const char* label, std::uint64_t count) {
    support::print("Number of %s %10llu\n", label, static_cast<unsigned long long>(count));
  };
  line("CR's .....", counts_.carriage_returns);
  line("LF's .....", counts_.line_feeds);
  line("CRLF's ...", counts_.crlf_pairs);
  line("LFCR's ...", counts_.lfcr_pairs);
  line("zeroes ...", counts_.zeroes);
}

void Scan::check_terminator() {
  if (total_ > 0 && last_byte_ == kTerminator) return;
  find("**** Detected possible corruption: file does not end with terminating character\n");
  if (total_ % kDiskBlockSize != 0) return;
  find("**** Detected possible corruption: file ends on block boundary\n");
  support::print_text("     This might be the result of some network transfer problem\n");
}

void Scan::check_line_feeds() {
  const std::uint64_t count = counts_.line_feeds;
  if (count == 0) {
    find("**** Detected possible corruption: part contains no Linefeeds (0x0a)\n");
  } else if (count == counts_.crlf_pairs || count == counts_.lfcr_pairs) {
    find("**** Detected possible corruption: Carriage Returns found on all Linefeeds\n");
  } else {
    return;
  }
  support::print_text(kTextFileLine);
}

void Scan::check_carriage_returns() {
  const std::uint64_t count = counts_.carriage_returns;
  if (count == 0) {
    find("**** Detected possible corruption: part contains no Carriage Returns (0x0d)\n");
  } else if (count == counts_.crlf_pairs || count == counts_.lfcr_pairs) {
    find("**** Detected possible corruption: Linefeeds found on all Carriage Returns\n");
  } else {
    return;
  }
  support::print_text(kTextFileLine);
}

void Scan::check_zeroes() {
  if (counts_.zeroes > 0) return;
  find("**** Detected possible corruption: part contains no zero bytes (0x00)\n");
  support::print_text("     This is often the result of incorrectly transferring the part between systems\n");
}

}  // namespace

ScanVerdict scan_for_corruption(const CorruptionScanRequest& request) {
  if (!request.silent && request.scan_requested) {
    support::print_text("     Scanning for some known file copying corruptions ....\n");
  }
  std::optional<FileChannel> channel;
  try {
    channel.emplace(request.file_name);
  } catch (const support::ErrorEscape&) {
    return request.silent ? ScanVerdict::clean : ScanVerdict::not_opened;
  }
  return Scan(request, *channel).run();
}

}  // namespace cfi_tools
