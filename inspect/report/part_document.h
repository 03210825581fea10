#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "cfi/tools/byte_counts.h"
#include "cfi/tools/feature_toggles.h"
#include "inspect/report/json_parts.h"
#include "inspect/report/json_writer.h"
#include "inspect/sections/byte_map.h"
#include "inspect/sections/part_facts.h"
#include "inspect/sections/referenced_names.h"
#include "inspect/sections/section_sink.h"

namespace inspect {

/// The stream that JT bodies lie in.
struct JtStreamPlace {
  std::string_view path;
  std::optional<std::uint64_t> size;  ///< where the last body ends; none when the stream does not expand
  std::function<std::optional<std::uint64_t>(std::uint64_t)> file_offset;  ///< of a position in the stream
};

/// The sections of one part as members of a JSON object, written as they are handed over. Sections follow
/// each other; what damage has cut short is closed.
class PartDocument final : public SectionSink, public cfi_tools::FeatureToggleSink {
 public:
  explicit PartDocument(JsonWriter& json) : json_(json) { json_.begin_object(); }

  /// Of a file of so many bytes: the lists grow no longer than that makes plausible.
  void set_file_size(std::uint64_t bytes);

  /// Closes the document.
  void end() { json_.end_object(); }

  /// Of the whole file.
  void take_byte_counts(const cfi_tools::ByteCounts& counts);

  void begin_container(const VRX::System::CFI::ContainerFacts& facts, const FastLoadFacts& fast_load);
  void take_storage(const StorageRow& storage) { write_row(storage); }
  void end_container();
  void begin_streams();
  void take_stream(const StreamRow& stream);
  void end_streams() { json_.end_array(); }

  void take_header(const HeaderSection& header);

  void begin_compatibility();
  void take_compatibility_line(const CompatibilityLine& line) override;
  void end_compatibility();

  void begin_filing_history() override { json_.begin_array("filing_history"); }
  void take_filing_history(const FilingHistory& history) override;
  void take_unreadable_history(const UnreadableHistory& history) override;
  void end_filing_history();

  void begin_partitions(const PartRecords& part);
  void begin_partition_row(const PartitionRow& row);
  void take_om_start(const ObjectManagerStart& start) override { om_start_ = start; }
  void take_not_om(const PartitionEntry& partition) override;
  void begin_unlisted_directory(const PartitionEntry& partition) override { take_not_om(partition); }
  void take_om_identity(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_om_counts(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_om_classes(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_om_root(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_audit_trail(const PartitionEntry& partition, const ObjectManagerPartition& om) override;
  void take_entity_chains(const EntityChains& chains) override;
  void take_old_entity_chains(std::span<const std::int16_t> words) override;

  /// The data of the partition are those of another, which are not told twice.
  void take_same_data(const PartitionEntry& first) { json_.member("same_data_as_partition", first.id); }
  void take_solid(const SolidSection& solid);
  void end_partition_row();
  void end_partitions() { json_.end_array(); }

  void begin_jt_streams() { json_.begin_object("jt"); }
  void begin_jt_stream(const JtStreamPlace& place);
  void begin_jt(const JtHead& head) override;
  void take_jt_body(const JtBody& body) override;
  void end_jt_stream();
  void end_jt_streams() { json_.end_object(); }

  void begin_toggles() { json_.begin_array("feature_toggles"); }
  void begin(int stream_format) override { toggle_format_ = stream_format; }
  void toggle(std::string_view text) override;

  /// `checksums` is none when the stream could not be read to its end.
  void end_toggles(const std::optional<cfi_tools::ToggleChecksums>& checksums);

  void begin_named_references() { json_.begin_array("references"); }
  void take_reference_count(const ReferencedName& name, std::string_view stream,
                            std::optional<std::uint64_t> file_offset);
  void end_named_references() { end_list("references_left_out"); }

  JsonWriter& json() { return json_; }

 private:
  void write_row(const StorageRow& storage);
  bool takes_row();
  void end_list(std::string_view member);
  void write_held_body(std::optional<std::uint64_t> end);

  JsonWriter& json_;
  RowBudget rows_;
  RowBudget bodies_;
  std::uint64_t text_bytes_ = UINT64_MAX;  ///< of header texts that are still told
  std::uint64_t left_out_ = 0;             ///< rows of the list that is open
  bool om_open_ = false;
  const PartitionRow* row_ = nullptr;
  ObjectManagerStart om_start_ = {};
  std::string unreadable_history_;  ///< why; empty when there is none
  std::int32_t unreadable_partition_ = 0;
  std::optional<std::string> earliest_release_;
  const JtStreamPlace* jt_ = nullptr;
  bool jt_open_ = false;
  std::optional<JtBody> held_body_;  ///< its end is where the next one begins
  int toggle_format_ = 0;
};

}  // namespace inspect
