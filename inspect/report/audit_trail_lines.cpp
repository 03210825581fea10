#include "inspect/report/audit_trail_lines.h"

#include "support/local_time.h"
#include "support/printable.h"
#include "support/text_line.h"

namespace inspect {

using support::append_number;

namespace {

constexpr std::size_t kLongText = 256;  ///< bytes; longer texts are cut when they come again
constexpr std::size_t kCutText = 48;    ///< bytes left of them
constexpr std::size_t kTimeColumns = 24;
constexpr std::size_t kNameColumns = 16;
constexpr std::string_view kPseudoEntry = "(pseudo entry)";

void pad_to(std::string& line, std::size_t length) {
  if (line.size() < length) line.append(length - line.size(), ' ');
}

void append_cookies(std::string& line, const AuditCookies& cookies) {
  line += "  magic cookie ";
  append_number(line, cookies.magic_cookie, 10);
  line += "  maximum object id ";
  append_number(line, cookies.maximum_object_id, 10);
}

}  // namespace

std::string_view ShownTexts::text_of(TextId id) const {
  if (id == kNoText || (id & kSharedTextBit) == 0) return texts_[id];
  const std::string_view text = shared_[id & ~kSharedTextBit].value_or(std::string_view{});
  return text.substr(0, text.find('\0'));
}

ShownTexts::Shown ShownTexts::take(TextId id) {
  const std::string_view text = text_of(id);
  const bool cut = text.size() > kLongText && !shown_.insert(id).second;
  return {cut ? text.substr(0, kCutText) : text, cut};
}

void ShownTexts::append(std::string& line, TextId id, std::size_t width) {
  const std::size_t begin = line.size();
  const Shown shown = take(id);
  if (id == kNoText) {
    line += "<none>";
  } else {
    support::append_printable(line, shown.text);
  }
  if (shown.cut) line += "...";
  pad_to(line, begin + width);
}

void append_save_time(std::string& line, std::int32_t seconds) {
  const std::size_t begin = line.size();
  if (seconds == 0) {
    line += kPseudoEntry;
  } else {
    support::append_local_time(line, seconds);
  }
  pad_to(line, begin + kTimeColumns);
}

void append_save_numbers(std::string& line, const AuditEntry& entry) {
  line += "  version ";
  append_number(line, entry.version_number, 5);
  line += "  machine type ";
  append_number(line, entry.machine_type, 5);
}

void print_pseudo_entries_note(support::Console& console, const PartitionEntry& partition,
                               const AuditTrail& audit) {
  if (audit.pseudo_entries) {
    console.print("\nNote: partition %d contains pseudo entries\n", partition.id);
  }
}

void print_filing_history(support::Console& console, const FilingHistory& history) {
  print_pseudo_entries_note(console, history.partition, history.om.audit);
  ShownTexts texts(history.partition, history.om);
  std::string line;
  history.saves.visit([&](const AuditObject& object, const AuditEntry& entry) {
    line = "  ";
    append_save_time(line, entry.save_time);
    line += "  ";
    texts.append(line, entry.user_name, kNameColumns);
    line += "  ";
    texts.append(line, object.program_version, kNameColumns);
    append_save_numbers(line, entry);
    line += '\n';
    console.print_text(line);
  });
}

void print_audit_trail(support::Console& console, const PartitionEntry& partition,
                       const ObjectManagerPartition& om) {
  const AuditTrail& audit = om.audit;
  console.print("Audit trail: %zu program versions, %zu saves\n", audit.objects.size(), audit.entries.size());
  ShownTexts texts(partition, om);
  std::string line;
  for (const AuditObject& object : audit.objects) {
    line = "  Program version: ";
    texts.append(line, object.program_version);
    line += '\n';
    console.print_text(line);
    for (std::size_t i = 0; i < object.entry_count; ++i) {
      const std::size_t number = object.first_entry + i;
      const AuditEntry& entry = audit.entries[number];
      line = "    ";
      append_save_time(line, entry.save_time);
      line += "  ";
      texts.append(line, entry.user_name, kNameColumns);
      append_save_numbers(line, entry);
      if (!audit.cookies.empty()) append_cookies(line, audit.cookies[number]);
      line += '\n';
      console.print_text(line);
    }
  }
}

}  // namespace inspect
