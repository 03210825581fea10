#include "inspect/records/object_manager_audit.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <string>
#include <utility>

#include "inspect/records/id_set.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_label.h"
#include "inspect/records/object_manager_limits.h"
#include "inspect/records/traced_readers.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::int32_t kInlineAuditVersion = 5;
constexpr std::int32_t kReversedAuditVersion = 4;
constexpr std::int32_t kNoLabel = -1;
constexpr std::int32_t kEndOfChain = -1;
constexpr TextId kNotLookedUp = kNoText - 1;

/// How one of the two chains names its links.
struct ChainNames {
  const char* label;       ///< trace label of a link, below version 5
  const char* class_link;  ///< the same from version 5
};

constexpr ChainNames kObjectChain = {"Audit label", "Audit class index in root object"};
constexpr ChainNames kEntryChain = {"Audit entry label", "Audit entry class in audit trail"};

/// Reads the two chains of one partition.
class AuditReader {
 public:
  AuditReader(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om, bool trace)
      : file_(file), partition_(partition), om_(om), trace_(trace) {}

  void read_audit_object();
  void read_audit_entry(AuditObject& object);

 private:
  bool by_label() const { return om_.version < kInlineAuditVersion; }
  bool enter_link(const ChainNames& chain, std::int32_t wanted_class, std::vector<std::uint64_t>& way_back);
  bool enter_label(const ChainNames& chain, std::vector<std::uint64_t>& way_back);
  void check_limits();
  void leave_link(std::vector<std::uint64_t>& way_back);
  TextId read_text(const char* label);
  TextId shared_text(std::size_t index);
  TextId intern(std::optional<std::string> text);
  void read_rest(AuditEntry& entry);

  InspectFile& file_;
  const PartitionEntry& partition_;
  ObjectManagerPartition& om_;
  bool trace_;
  IdSet object_labels_;  ///< the labels on the way, plus one: a chain must not come back to itself
  IdSet entry_labels_;   ///< the same for the entries of one object
  std::vector<TextId> shared_texts_;  ///< by index: a long one may be named in very many saves
  std::vector<std::uint64_t> object_way_back_;
  std::vector<std::uint64_t> entry_way_back_;
};

bool AuditReader::enter_label(const ChainNames& chain, std::vector<std::uint64_t>& way_back) {
  std::int32_t label = 0;
  read_ints(trace_, file_, 1, &label, "%s", chain.label);
  if (label == kNoLabel) return false;
  if (label < 0 || label == INT32_MAX) inspect_error(file_, "Bad value %d for %s\n", label, chain.label);
  IdSet& on_the_way = &chain == &kObjectChain ? object_labels_ : entry_labels_;
  if (!on_the_way.insert(label + 1)) {
    inspect_error(file_, "%s %d leads to an object that was read before\n", chain.label, label);
  }
  way_back.push_back(current_position(file_));
  seek_object(file_, partition_, label, trace_);
  return true;
}

/// Moves to the object that the link at the stream's position names; false at the end of the chain.
bool AuditReader::enter_link(const ChainNames& chain, std::int32_t wanted_class,
                             std::vector<std::uint64_t>& way_back) {
  check_limits();
  if (by_label()) return enter_label(chain, way_back);
  const std::int32_t found = read_compact_short(trace_, file_, partition_, "%s", chain.class_link);
  if (found == kEndOfChain) return false;
  if (found != wanted_class) {
    const auto shown = static_cast<unsigned>(found);
    if (&chain == &kObjectChain) {
      inspect_error(file_, "Expected audit class index %d but found %x\n", wanted_class, shown);
    }
    inspect_error(file_, "Expected audit_entry class index %d but found %x\n", wanted_class, shown);
  }
  return true;
}

void AuditReader::check_limits() {
  check_om_limit(file_, om_.audit.objects.size() + om_.audit.entries.size(), limits::kAuditLinks, "saves");
  check_om_limit(file_, om_.texts.byte_count(), limits::kObjectTextBytes, "bytes of text");
}

void AuditReader::leave_link(std::vector<std::uint64_t>& way_back) {
  if (!by_label()) return;
  move_to(trace_, file_, way_back.back());
  way_back.pop_back();
}

TextId AuditReader::intern(std::optional<std::string> text) {
  if (!text) return kNoText;
  cut_at_terminator(*text);
  return om_.texts.intern(*text);
}

TextId AuditReader::shared_text(std::size_t index) {
  if (shared_texts_.empty()) shared_texts_.assign(partition_.shared_strings.size(), kNotLookedUp);
  TextId& id = shared_texts_[index];
  if (id == kNotLookedUp) {
    id = intern(partition_.shared_strings[index]);
  }
  return id;
}

TextId AuditReader::read_text(const char* label) {
  OmStringField field = read_om_string_field(trace_, file_, partition_, label);
  if (field.shared_index) return shared_text(*field.shared_index);
  return intern(std::move(field.own_text));
}

void AuditReader::read_audit_object() {
  std::vector<AuditObject>& objects = om_.audit.objects;
  while (enter_link(kObjectChain, om_.audit_class, object_way_back_)) {
    const TextId program_version = read_text("Program version");
    objects.push_back({program_version, 0, 0});
  }
  // The entries of the innermost object come first.
  for (std::size_t i = objects.size(); i > 0; --i) {
    read_audit_entry(objects[i - 1]);
    leave_link(object_way_back_);
  }
}

void AuditReader::read_audit_entry(AuditObject& object) {
  std::deque<AuditEntry>& entries = om_.audit.entries;
  object.first_entry = entries.size();
  entry_labels_.clear();
  while (enter_link(kEntryChain, om_.audit_entry_class, entry_way_back_)) {
    const TextId user_name = read_text("User name");
    entries.emplace_back().user_name = user_name;
  }
  object.entry_count = entries.size() - object.first_entry;
  for (std::size_t i = entries.size(); i > object.first_entry; --i) {
    read_rest(entries[i - 1]);
    leave_link(entry_way_back_);
  }
}

void AuditReader::read_rest(AuditEntry& entry) {
  entry.save_time = read_compact_int(trace_, file_, partition_, "Save time");
  if (om_.version >= kInlineAuditVersion) {
    entry.magic_cookie = read_compact_int(trace_, file_, partition_, "Magic cookie");
    entry.maximum_object_id = read_compact_int(trace_, file_, partition_, "Maximum object id");
  }
  entry.version_number = read_compact_short(trace_, file_, partition_, "Version number in audit trail entry");
  entry.machine_type = static_cast<std::uint16_t>(
      read_compact_short(trace_, file_, partition_, "Machine type in audit trail entry"));
  if (entry.save_time == 0) om_.audit.pseudo_entries = true;
}

void read_shared_strings(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om,
                         bool trace) {
  if (om.shared_string_position == 0) return;
  move_to(trace, file, position_behind(om.start, om.shared_string_position));
  const std::int32_t count = read_compact_int(trace, file, partition, "count of strings");
  om.utf8_string_count = read_compact_int(trace, file, partition, "count of utf8 strings");
  for (std::int32_t i = 0; i < count; ++i) {
    check_om_limit(file, partition.shared_strings.size(), limits::kSharedStrings, "shared strings");
    check_om_limit(file, partition.shared_strings.byte_count(), limits::kSharedStringBytes,
                   "bytes of shared strings");
    partition.shared_strings.push_back(
        read_om_string(trace, file, StringTyping::plain, partition, "shared string"));
  }
}

void read_root(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om, bool trace) {
  seek_object(file, partition, om.root_object, trace);
  read_om_label(trace, file, partition, "Root object file head");
  om.root_name = read_om_string(trace, file, StringTyping::vla_typed, partition, "Root name").value_or("");
  cut_at_terminator(om.root_name);
}

}  // namespace

void read_audit_object(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om,
                       bool trace) {
  om.audit.has_cookies = om.version >= kInlineAuditVersion;
  AuditReader(file, partition, om, trace).read_audit_object();
}

void read_shared_strings_and_root(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om,
                                  bool trace) {
  partition.shared_strings.clear();
  if (!om.has_root()) return;
  read_shared_strings(file, partition, om, trace);
  read_root(file, partition, om, trace);
  read_audit_object(file, partition, om, trace);
  // Version 4 chains its program versions the other way round.
  if (om.version == kReversedAuditVersion) std::ranges::reverse(om.audit.objects);
}

}  // namespace inspect
