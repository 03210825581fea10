#include "inspect/part_examination.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>

#include "cfi/cfi_error_codes.h"
#include "cfi/container_layout.h"
#include "cfi/storage_file.h"
#include "cfi/stream_names.h"
#include "cfi/tools/corruption_scan.h"
#include "cfi/tools/file_digest.h"
#include "inspect/file_findings.h"
#include "inspect/reading_pass.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/sections/container_claims.h"
#include "inspect/sections/file_kind.h"
#include "inspect/sections/part_summary.h"
#include "inspect/sections/release.h"
#include "inspect/sections/release_names.h"
#include "support/printable.h"

namespace inspect {

namespace CFI = VRX::System::CFI;
using support::ErrorEscape;

namespace {

constexpr std::size_t kHeadBytes = 512;
constexpr std::size_t kPieceBytes = 65536;
constexpr std::int16_t kFirstTerminated = 15;
constexpr std::uint8_t kTerminator = 0xFF;

/// Keeps the counts of a scan: what they say about line ends is told only where it can be no chance.
class ScanCounts final : public cfi_tools::CorruptionScanSink {
 public:
  void begin() override {}
  void finding(const cfi_tools::ScanFinding&) override {}
  void statistics(const cfi_tools::ByteCounts& counts) override { counts_ = counts; }
  const cfi_tools::ByteCounts& counts() const { return counts_; }
  void end(cfi_tools::ScanVerdict) override {}

  bool is_telling(Rule rule, std::uint64_t file_size) const {
    constexpr std::uint64_t kBytesWithEveryValue = 4096;  // without one of 256 values: once in ten million
    const std::uint64_t data = file_size - std::min(file_size, counts_.zeroes);  // zeroes are mostly padding
    constexpr std::uint64_t kBytesBesideTheOther = 4;
    switch (rule) {
      case Rule::copy_no_line_feeds:
      case Rule::copy_no_carriage_returns:
      case Rule::copy_no_high_bits:
        return data >= kBytesWithEveryValue;
      case Rule::copy_no_zeroes:
        return file_size >= kBytesWithEveryValue;
      case Rule::copy_all_line_feeds_with_cr:
        return counts_.line_feeds >= kBytesBesideTheOther;
      case Rule::copy_all_carriage_returns_with_lf:
        return counts_.carriage_returns >= kBytesBesideTheOther;
      default:
        return true;
    }
  }

 private:
  cfi_tools::ByteCounts counts_;
};

/// What keeps a file from being examined, and says nothing of what it holds.
bool hides_the_file(int code) {
  return code == CFI::kSystemCallFailed || code == CFI::kNotAStorageFile || code == CFI::kEncryptedFile ||
         code == CFI::kVersionTooNew;
}

}  // namespace

/// Keeps what the checks of modeller data give.
class PartExamination::Checks final : public SolidSink {
 public:
  explicit Checks(std::vector<CheckedBlock>& blocks) : blocks_(blocks) {}

  void take_checked_block(const DataBlockResult& block) override {
    blocks_.push_back({.partition_number = block.partition.number,
                       .wide = block.wide,
                       .inflate_error = block.inflate_error,
                       .data_position = block.data_position,
                       .stored_size = block.stored_size,
                       .saved_size = block.saved_size,
                       .found_size = block.found_size,
                       .saved_stored_checksum = block.saved_stored_checksum,
                       .saved_expanded_checksum = block.saved_expanded_checksum,
                       .found_stored_checksum = block.found_stored_checksum,
                       .found_expanded_checksum = block.found_expanded_checksum});
  }

 private:
  std::vector<CheckedBlock>& blocks_;
};

PartExamination::PartExamination(std::string name) : file_(name, findings_) {
  facts_.name = std::move(name);
  file_.steps_over_damage = true;
}

void PartExamination::run(PartDocument& document, bool sha256) {
  if (open()) examine(document);
  if (sha256) take_digest();
  if (map_) settle_map();
  decide();
}

void PartExamination::examine(PartDocument& document) {
  document.set_file_size(*facts_.size);
  if (has_part_) read_records();
  scan_bytes();
  if (has_part_) {
    check_header_copy();
    check_terminator();
    if (file_.records.version != PartRecords::kVersionNotRead) report_header_oddities(file_);
    places_.set_object_data(find_object_data(file_));
    keep_release();
  }
  if (byte_counts_) document.take_byte_counts(*byte_counts_);
  write_sections(document);
}

void PartExamination::keep_release() {
  class Keeper final : public SectionSink {
   public:
    explicit Keeper(std::optional<ReleaseSection>& release) : release_(release) {}
    void take_release(const ReleaseSection& release) override { release_ = release; }

   private:
    std::optional<ReleaseSection>& release_;
  };
  if (file_.records.header.word_count == 0) return;
  Keeper keeper(release_);
  read_release(file_, keeper);
}

void PartExamination::report(support::Rule rule, support::Place place, std::string message) {
  support::Finding finding;
  finding.rule = rule;
  finding.place = std::move(place);
  finding.message = message.empty() ? std::string(row_of(rule).meaning) : std::move(message);
  findings_.report(finding);
}

/// What the system says of a file that cannot be opened.
void PartExamination::look_at_file() {
  struct stat status = {};
  if (stat(facts_.name.c_str(), &status) != 0) return;
  if (S_ISREG(status.st_mode)) facts_.size = static_cast<std::uint64_t>(status.st_size);
  facts_.modified = status.st_mtime;
}

/// The file as it was opened, whole or damaged.
CFI::FileChannel* PartExamination::channel() const {
  return container_.is_open() ? &container_.channel() : damaged_.get();
}

void PartExamination::take_digest() {
  attempt(file_, [this] {
    if (CFI::FileChannel* bytes = channel()) facts_.sha256 = cfi_tools::sha256_of(*bytes);
  });
}

bool PartExamination::open() {
  try {
    container_.open(facts_.name);
  } catch (const ErrorEscape& escape) {
    take_open_failure(escape);
    return map_.has_value();
  }
  facts_.size = container_.file_size();
  facts_.modified = container_.channel().modified();
  map_.emplace(*facts_.size);
  if (*facts_.size == 0) {
    report(Rule::file_empty);
    unreadable_ = true;
    map_.reset();
    return false;
  }
  file_.identity = container_.identity();
  file_.container = container_.storage_file();
  file_.disk_length = container_.file_size();
  if (file_.container != nullptr) lay_out_container();
  has_part_ = open_part_stream();
  return true;
}

void PartExamination::take_open_failure(const ErrorEscape& escape) {
  look_at_file();
  unreadable_ = hides_the_file(escape.code());
  if (unreadable_) return report(rule_of(escape.code()), {}, support::printable(escape.message()));
  attempt(file_, [&] {
    damaged_ = std::make_unique<CFI::FileChannel>(facts_.name);
    facts_.size = damaged_->size();
    const bool lacks_header =
        CFI::recognise(*damaged_) == CFI::FileKind::microsoft && *facts_.size < kHeadBytes;
    if (escape.code() == CFI::kEndOfStream || lacks_header) report_truncation();
    map_.emplace(damaged_->size());
    ContainerClaims claims(*map_, {});
    attempt(file_, [&] { container_facts_ = CFI::lay_out_damaged(*damaged_, claims); });
    report_container_damage(escape);
  });
}

bool PartExamination::open_part_stream() {
  std::array<unsigned char, kHeadBytes> bytes = {};
  const std::size_t count = read_bytes(0, bytes);
  const std::span<const unsigned char> head = std::span(bytes).first(count);
  if (file_.container == nullptr && !begins_like_part_header(head)) {
    looks_like_ = file_kind(head);
    not_a_part_ = true;
    return false;
  }
  try {
    std::optional<ErrorEscape> failure;
    auto stream = container_.open_part_stream(&failure);
    part_is_framed_ =
        failure || (stream->size() != 0 && file_.container != nullptr && !stream->file_offset(0));
    file_.attach(std::move(stream), part_stream_);
    part_frame_failed_ = failure.has_value();
    if (failure) report_escape(file_, *failure);
    if (!failure && file_.records.length == 0) report_empty_part();
    return file_.records.length != 0;
  } catch (const ErrorEscape& escape) {
    check_truncation();
    not_a_part_ = escape.code() == CFI::kElementNotFound && findings_.verdict() == FileVerdict::sound;
    if (not_a_part_) {
      looks_like_ = "container without a part";
    } else {
      report(rule_of(escape.code()), {}, support::printable(escape.message()));
    }
    return false;
  }
}

void PartExamination::report_empty_part() {
  support::Place place;
  place.stream = part_stream_;
  place.stream_offset = 0;
  place.length = 0;
  report(Rule::container_end_of_stream, std::move(place), "the part stream has no bytes");
}

void PartExamination::read_records() {
  Checks checks(places_.blocks);
  attempt(file_, [&] {
    read_part(file_, container_.header_copy(),
              {.checks = PassChecks::all, .damage = PassDamage::ends_partition}, checks);
  });
  file_.reader.set_partition(std::nullopt);
  std::ranges::stable_sort(places_.blocks, {}, &CheckedBlock::partition_number);
  report_absent_checksums();
}

/// The scan of all bytes, with the version known: only then line ends and terminator can be judged.
void PartExamination::scan_bytes() {
  std::array<unsigned char, kHeadBytes> bytes = {};
  const std::size_t count = read_bytes(0, bytes);
  const bool text_copy = not_a_part_ && begins_like_text_copy(std::span(bytes).first(count));
  FindingList found;
  ScanCounts counts;
  ScanFindings sink(found, counts);
  // A container that cannot be read may still show how it was copied.
  const bool unread = file_.records.version == cfi_tools::CorruptionScanRequest::kVersionNotRead;
  const bool judged_as_latest = text_copy || (unread && !not_a_part_);
  const std::int32_t version = judged_as_latest ? kLastRelease : file_.records.version;
  attempt(file_, [&] {
    cfi_tools::scan_for_corruption(*channel(), {.file_name = facts_.name, .version = version}, sink);
  });
  byte_counts_ = counts.counts();
  if (lacks_high_bits()) {
    support::Finding finding;
    finding.rule = Rule::copy_no_high_bits;
    found.report(finding);
  }
  for (const ListedFinding& row : found.rows()) {
    const Rule rule = row.finding.rule;
    if (!counts.is_telling(rule, *facts_.size)) continue;
    if (not_a_part_ && !text_copy && rule != Rule::copy_only_zeroes) continue;
    support::Finding finding = row.finding;
    if (rule == Rule::copy_no_terminator) finding.place = place_of_last_byte();
    findings_.report(finding);
    not_a_part_ = false;
    looks_like_ = {};
  }
  if (not_a_part_) report_not_a_part();
}

/// In a binary file the first such byte comes soon.
bool PartExamination::lacks_high_bits() {
  std::vector<unsigned char> piece(kPieceBytes);
  for (std::uint64_t at = 0; at < *facts_.size;) {
    const std::size_t count = read_bytes(at, piece);
    if (count == 0) return false;
    if (std::ranges::any_of(std::span(piece).first(count), [](unsigned char c) { return c >= 0x80; })) {
      return false;
    }
    at += count;
  }
  return true;
}

support::Place PartExamination::place_of_last_byte() const {
  support::Place place;
  place.file_offset = *facts_.size - 1;
  place.length = 1;
  place.field = "terminating_byte";
  return place;
}

void PartExamination::report_not_a_part() {
  report(Rule::file_not_a_part, {}, "the file is no KX part; it looks like: " + std::string(looks_like_));
}

/// The copy lies under the checksum of the index.
void PartExamination::check_header_copy() {
  const std::span<const std::byte> copy = container_.header_copy();
  const std::uint64_t length = 2 + 2 * std::uint64_t{file_.records.header.word_count};
  if (copy.empty() || file_.records.header.word_count == 0) return;
  std::vector<std::byte> own(std::min<std::uint64_t>(length, copy.size()));
  file_.stream->set_position(0);
  own.resize(file_.stream->read(own.data(), own.size()));
  const auto differing = std::ranges::mismatch(own, copy).in1;
  if (differing == own.end()) return;
  const auto at = static_cast<std::uint64_t>(differing - own.begin());
  support::Place place = file_.reader.place(at, 1);
  place.field = "header";
  report(Rule::header_copy_differs, std::move(place));
}

/// A flat file's end is judged by the scan.
void PartExamination::check_terminator() {
  const PartRecords& part = file_.records;
  if (file_.container == nullptr || part.header.version < kFirstTerminated || part.length == 0) return;
  attempt(file_, [&] {
    std::uint8_t last = 0;
    file_.stream->set_position(part.length - 1);
    if (file_.stream->read(&last, 1) == 1 && last == kTerminator) return;
    support::Place place = file_.reader.place(part.length - 1, 1);
    place.field = "terminating_byte";
    report(Rule::copy_no_terminator, std::move(place),
           "the part stream does not end with its terminating byte: its end may be missing");
  });
}

void PartExamination::check_truncation() {
  if (file_.container != nullptr && file_.container->is_truncated()) report_truncation();
}

void PartExamination::report_truncation() {
  support::Place place;
  place.file_offset = facts_.size;
  report(Rule::file_truncated, std::move(place));
}

void PartExamination::report_absent_checksums() {
  std::string ids;
  std::size_t count = 0;
  std::optional<std::int32_t> first;
  constexpr std::size_t kNamed = 20;
  for (const PartitionEntry& partition : file_.records.partitions) {
    if (!holds_object_manager_data(file_.records, partition)) continue;
    const auto& checked = file_.records.om_checksums;
    if (std::ranges::binary_search(checked, partition.number, {}, &ObjectManagerChecksum::partition_number)) {
      continue;
    }
    if (!first) first = partition.id;
    if (++count <= kNamed) ids += (ids.empty() ? "" : ", ") + std::to_string(partition.id);
  }
  if (count == 0) return;
  if (count > kNamed) ids += " and " + std::to_string(count - kNamed) + " more";
  support::Finding finding;
  finding.rule = Rule::om_checksum_absent;
  finding.place.partition = first;
  finding.message =
      "the object-manager partitions " + ids + " carry no checksum: their bytes were read, not verified";
  finding.effect = "a changed byte in them may go unnoticed";
  findings_.report(finding);
}

void PartExamination::decide() {
  if (unreadable_) {
    verdict_ = FileVerdict::unreadable;
  } else if (not_a_part_) {
    verdict_ = FileVerdict::not_a_part;
  } else {
    verdict_ = findings_.verdict();
  }
}

}  // namespace inspect
