#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

#include "inspect/records/object_manager_partition.h"
#include "inspect/sections/filing_history.h"
#include "support/console.h"

namespace inspect {

/// Texts of a partition, its shared strings included, escaped for a terminal. A long text is shown whole
/// where it first occurs and cut afterwards: a file that names one long text a million times must not fill
/// the disk.
class ShownTexts {
 public:
  ShownTexts(const PartitionEntry& partition, const ObjectManagerPartition& om)
      : texts_(om.texts), shared_(partition.shared_strings) {}

  struct Shown {
    std::string_view text;  ///< as stored
    bool cut = false;       ///< only the beginning of it
  };

  /// What is to be shown of the text this time; empty for kNoText.
  Shown take(TextId id);

  /// Appends the text, padded with blanks to `width` bytes; "<none>" for kNoText.
  void append(std::string& line, TextId id, std::size_t width = 0);

 private:
  std::string_view text_of(TextId id) const;

  const TextPool& texts_;
  const SharedStrings& shared_;
  std::unordered_set<TextId> shown_;  ///< long texts
};

/// Appends the time of a save, local date and time in the form of ctime: 24 characters, no line end. A pseudo
/// entry has no time and says so.
void append_save_time(std::string& line, std::int32_t seconds);

/// Appends version number and machine type of a save.
void append_save_numbers(std::string& line, const AuditEntry& entry);

/// The note that precedes saves of which some have no time.
void print_pseudo_entries_note(support::Console& console, const PartitionEntry& partition,
                               const AuditTrail& audit);

/// The saves of a filing history, a line each.
void print_filing_history(support::Console& console, const FilingHistory& history);

/// The audit trail as read: a line for each program version, below it a line for each of its saves;
/// magic cookie and maximum object id are added where they were kept.
void print_audit_trail(support::Console& console, const PartitionEntry& partition,
                       const ObjectManagerPartition& om);

}  // namespace inspect
