#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cfi/tools/byte_counts.h"
#include "inspect/part_container.h"
#include "inspect/records/inspect_file.h"
#include "inspect/report/part_document.h"
#include "inspect/sections/byte_map.h"
#include "inspect/sections/finding_list.h"
#include "inspect/sections/part_facts.h"
#include "inspect/sections/release.h"
#include "support/error_escape.h"

namespace inspect {

/// One file examined as far as it can be: every check is done, and damage costs what it hits, not what comes
/// behind it. What is known goes into a document as it becomes known; findings, verdict and the map of bytes
/// are complete at the end.
class PartExamination {
 public:
  explicit PartExamination(std::string name);

  /// Reads the file; with `sha256` once more for that. Raises bad_alloc, and what the document's sink raises.
  void run(PartDocument& document, bool sha256);

  const FileFacts& file() const { return facts_; }
  FileVerdict verdict() const { return verdict_; }

  /// Of a file that is no part; else empty.
  std::string_view looks_like() const { return looks_like_; }

  /// None when the part header could not be read.
  const std::optional<ReleaseSection>& release() const { return release_; }
  const FindingList& findings() const { return findings_; }

  /// Settled. None for a file that could not be opened.
  const std::optional<ByteMap>& bytes() const { return map_; }

  /// The path of the part stream; empty in a flat file.
  std::string_view part_stream() const { return part_stream_; }

  /// The path of a stream of the container.
  std::string stream_path(std::uint64_t stream) const;

  /// The one value that all bytes of a range have.
  std::optional<std::uint8_t> fill_of(const ByteClaim& range);

 private:
  class Checks;

  /// A stream of the container that was interpreted.
  struct ReadStream {
    VRX::System::CFI::ElementId element;
    Protection protection;
  };

  void look_at_file();
  VRX::System::CFI::FileChannel* channel() const;
  void take_digest();
  void keep_release();
  bool open();
  bool open_part_stream();
  void report_empty_part();
  void report_container_damage(const support::ErrorEscape& escape);
  void take_open_failure(const support::ErrorEscape& escape);
  void examine(PartDocument& document);
  std::size_t read_bytes(std::uint64_t offset, std::span<unsigned char> bytes);

  void read_records();
  void scan_bytes();
  void check_header_copy();
  void check_terminator();
  void check_truncation();
  void report_truncation();
  void check_last_sector();
  bool lacks_high_bits();
  support::Place place_of_last_byte() const;
  void report_absent_checksums();
  void report_not_a_part();
  void report(support::Rule rule, support::Place place = {}, std::string message = {});
  void decide();

  // The account of the bytes.
  void lay_out_container();
  void report_layout_faults();
  void settle_map();
  void claim_container();
  Protection protection_of(std::uint64_t stream) const;
  void report_overlaps();
  void report_holes();

  // The sections, in the order of the document.
  void write_sections(PartDocument& document);
  void write_container(PartDocument& document);
  FastLoadFacts fast_load_facts() const;
  void write_streams(PartDocument& document);
  StreamRow stream_row(VRX::System::CFI::ElementId element, const std::string& path);
  void report_bad_block(const StreamRow& row);
  void expand_framed(StreamRow& row, VRX::System::CFI::ElementId element);
  std::unique_ptr<support::ByteSource> open_named(std::string_view name);
  void note_child_stream(std::string_view storage, std::string_view name, Protection protection);
  void take_toggle_checksums(const support::ByteSource& source,
                             const std::optional<cfi_tools::ToggleChecksums>& checksums);
  const ObjectManagerChecksum* checksum_of(const PartitionEntry& partition) const;
  void write_header(PartDocument& document);
  void write_compatibility(PartDocument& document);
  void write_history(PartDocument& document);
  void write_partitions(PartDocument& document);
  void write_partition(PartDocument& document, PartitionEntry& partition);
  void write_solid(PartDocument& document, const PartitionEntry& partition);
  void write_jt(PartDocument& document);
  void write_jt_stream(PartDocument& document, const char* name);
  void write_toggles(PartDocument& document);
  void write_references(PartDocument& document);

  FileFacts facts_;
  FindingList findings_;
  PartContainer container_;  // outlives the sources that the file's readers hold
  std::unique_ptr<VRX::System::CFI::FileChannel>
      damaged_;  ///< over a file that could not be opened as what it is
  InspectFile file_;
  std::optional<VRX::System::CFI::ContainerFacts> container_facts_;
  std::optional<VRX::System::CFI::ElementId> part_element_;
  std::string part_stream_;
  bool part_is_framed_ = false;
  bool part_frame_failed_ = false;  ///< and that has been reported
  PartPlaces places_;
  std::vector<ReadStream> read_streams_;
  std::uint64_t framed_bytes_ = 0;  ///< stored bytes of framed streams that were expanded
  std::optional<cfi_tools::ByteCounts> byte_counts_;
  std::optional<ByteMap> map_;
  bool has_part_ = false;
  bool not_a_part_ = false;
  bool unreadable_ = false;
  std::string_view looks_like_;
  std::optional<ReleaseSection> release_;
  FileVerdict verdict_ = FileVerdict::sound;
};

}  // namespace inspect
