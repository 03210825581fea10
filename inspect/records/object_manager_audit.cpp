#include "inspect/records/object_manager_audit.h"

#include <algorithm>
#include <deque>
#include <limits>
#include <string>

#include "inspect/records/id_set.h"
#include "inspect/records/inspect_errors.h"
#include "inspect/records/object_manager_bounds.h"
#include "inspect/records/object_manager_label.h"
#include "inspect/records/om_strings.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::int32_t kInlineAuditVersion = 5;
constexpr std::int32_t kReversedAuditVersion = 4;
constexpr std::int32_t kNoLabel = -1;
constexpr std::int32_t kEndOfChain = -1;

/// How one of the two chains names its links.
struct ChainNames {
  FieldLabel label;       ///< of a link, below version 5
  FieldLabel class_link;  ///< the same from version 5
};

constexpr ChainNames kObjectChain = {"Audit label", "Audit class index in root object"};
constexpr ChainNames kEntryChain = {"Audit entry label", "Audit entry class in audit trail"};

/// Bytes of memory for one link, until the history has put its save in order; links that are labels are also
/// kept while the chain is followed.
constexpr std::size_t kInlineLinkBytes = 24;
constexpr std::size_t kLabelLinkBytes = 36;

/// Reads the two chains of one partition.
class AuditReader {
 public:
  AuditReader(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om)
      : file_(file), partition_(partition), om_(om) {}

  void read_audit_object();
  void read_audit_entry(AuditObject& object);

 private:
  bool by_label() const { return om_.version < kInlineAuditVersion; }
  bool keeps_cookies() const { return !by_label() && om_.audit.wants_cookies; }
  bool enter_link(const ChainNames& chain, std::int32_t wanted_class);
  bool enter_label(const ChainNames& chain);
  void check_limits();
  void leave_link();
  TextId read_text(const FieldLabel& label);
  void read_rest(std::size_t number);

  InspectFile& file_;
  const PartitionEntry& partition_;
  ObjectManagerPartition& om_;
  // Links that are labels, from the outermost object to the entry being read.
  std::deque<std::uint64_t> way_back_;    ///< positions behind them
  std::deque<std::uint32_t> way_labels_;  ///< plus one
  IdSet labels_;                          ///< the same labels: no chain may come back to one of them
};

bool AuditReader::enter_label(const ChainNames& chain) {
  std::int32_t label = 0;
  file_.reader.read(label, chain.label);
  if (label == kNoLabel) return false;
  if (label < 0 || label == INT32_MAX)
    inspect_error(file_.reader, Rule::om_audit, "Bad value %d for %s\n", label, chain.label.text().c_str());
  if (!labels_.insert(static_cast<std::uint32_t>(label) + 1)) {
    inspect_error(file_.reader, Rule::om_audit, "%s %d leads to an object that was read before\n",
                  chain.label.text().c_str(), label);
  }
  way_labels_.push_back(static_cast<std::uint32_t>(label) + 1);
  way_back_.push_back(file_.reader.position());
  seek_object(file_.reader, partition_, label);
  return true;
}

/// Moves to the object that the link at the stream's position names; false at the end of the chain.
bool AuditReader::enter_link(const ChainNames& chain, std::int32_t wanted_class) {
  check_limits();
  if (by_label()) return enter_label(chain);
  const std::int32_t found = file_.reader.read_compact_short(partition_.encoding, chain.class_link);
  if (found == kEndOfChain) return false;
  if (found != wanted_class) {
    const auto shown = static_cast<unsigned>(found);
    if (&chain == &kObjectChain) {
      inspect_error(file_.reader, Rule::om_audit, "Expected audit class index %d but found %x\n",
                    wanted_class, shown);
    }
    inspect_error(file_.reader, Rule::om_audit, "Expected audit_entry class index %d but found %x\n",
                  wanted_class, shown);
  }
  return true;
}

void AuditReader::check_limits() {
  const std::size_t links = om_.audit.objects.size() + om_.audit.entries.size();
  check_om_limit(file_, links, limits::kAuditLinks, "saves");
  check_object_memory(file_, partition_, om_, links * (by_label() ? kLabelLinkBytes : kInlineLinkBytes));
}

void AuditReader::leave_link() {
  if (!by_label()) return;
  labels_.erase(way_labels_.back());
  way_labels_.pop_back();
  file_.reader.move_to(way_back_.back());
  way_back_.pop_back();
}

TextId AuditReader::read_text(const FieldLabel& label) {
  OmStringField field = read_om_string_field(file_.reader, partition_, label);
  if (field.shared_index) {
    const bool has_text = partition_.shared_strings[*field.shared_index].has_value();
    return has_text ? shared_text_id(*field.shared_index) : kNoText;
  }
  if (!field.own_text) return kNoText;
  cut_at_terminator(*field.own_text);
  return om_.texts.intern(*field.own_text);
}

void AuditReader::read_audit_object() {
  std::deque<AuditObject>& objects = om_.audit.objects;
  while (enter_link(kObjectChain, om_.audit_class)) {
    const TextId program_version = read_text("Program version");
    objects.push_back({program_version, 0, 0});
  }
  // The entries of the innermost object come first.
  for (std::size_t i = objects.size(); i > 0; --i) {
    read_audit_entry(objects[i - 1]);
    leave_link();
  }
}

void AuditReader::read_audit_entry(AuditObject& object) {
  std::deque<AuditEntry>& entries = om_.audit.entries;
  const std::size_t first = entries.size();
  while (enter_link(kEntryChain, om_.audit_entry_class)) {
    const TextId user_name = read_text("User name");
    entries.emplace_back().user_name = user_name;
  }
  object.first_entry = static_cast<std::uint32_t>(first);
  object.entry_count = static_cast<std::uint32_t>(entries.size() - first);
  if (keeps_cookies()) om_.audit.cookies.resize(entries.size());
  for (std::size_t i = entries.size(); i > first; --i) {
    read_rest(i - 1);
    leave_link();
  }
}

void AuditReader::read_rest(std::size_t number) {
  AuditEntry& entry = om_.audit.entries[number];
  entry.save_time = file_.reader.read_compact_int(partition_.encoding, "Save time");
  if (!by_label()) {
    const std::int32_t cookie = file_.reader.read_compact_int(partition_.encoding, "Magic cookie");
    const std::int32_t maximum = file_.reader.read_compact_int(partition_.encoding, "Maximum object id");
    if (keeps_cookies()) om_.audit.cookies[number] = {cookie, maximum};
  }
  entry.version_number = static_cast<std::int16_t>(
      file_.reader.read_compact_short(partition_.encoding, "Version number in audit trail entry"));
  entry.machine_type = static_cast<std::uint16_t>(
      file_.reader.read_compact_short(partition_.encoding, "Machine type in audit trail entry"));
  if (entry.save_time == 0) om_.audit.pseudo_entries = true;
}

void read_shared_strings(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om) {
  if (om.shared_string_position == 0) return;
  file.reader.move_to(position_behind(om.start, om.shared_string_position));
  const std::int32_t count = file.reader.read_compact_int(partition.encoding, "count of strings");
  om.utf8_string_count = file.reader.read_compact_int(partition.encoding, "count of utf8 strings");
  for (std::int32_t i = 0; i < count; ++i) {
    check_om_limit(file, partition.shared_strings.size(), limits::kSharedStrings, "shared strings");
    check_object_memory(file, partition, om, 0);
    partition.shared_strings.push_back(
        read_om_string(file.reader, StringTyping::plain, partition, "shared string"));
  }
}

void read_root(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om) {
  seek_object(file.reader, partition, om.root_object);
  read_om_label(file, partition, "Root object file head");
  om.root_name = read_om_string(file.reader, StringTyping::vla_typed, partition, "Root name").value_or("");
  cut_at_terminator(om.root_name);
}

}  // namespace

void read_audit_object(InspectFile& file, const PartitionEntry& partition, ObjectManagerPartition& om) {
  AuditReader(file, partition, om).read_audit_object();
}

void read_shared_strings_and_root(InspectFile& file, PartitionEntry& partition, ObjectManagerPartition& om) {
  partition.shared_strings.clear();
  if (!om.has_root()) return;
  read_shared_strings(file, partition, om);
  read_root(file, partition, om);
  read_audit_object(file, partition, om);
  // Version 4 chains its program versions the other way round.
  if (om.version == kReversedAuditVersion) std::ranges::reverse(om.audit.objects);
}

}  // namespace inspect
