#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/records/object_manager_partition.h"

namespace inspect {

/// Texts of a partition's pool, escaped for a terminal. A long text is shown whole where it first occurs and
/// cut afterwards: a file that names one long text a million times must not fill the disk.
class ShownTexts {
 public:
  explicit ShownTexts(const TextPool& texts) : texts_(texts) {}

  /// Appends the text, padded with blanks to `width` bytes; "<none>" for kNoText.
  void append(std::string& line, TextId id, std::size_t width = 0);

 private:
  const TextPool& texts_;
  std::vector<bool> shown_;  ///< by TextId, for long texts
};

/// Appends a number, padded on the left with blanks to `width` columns.
void append_number(std::string& line, std::int64_t number, std::size_t width = 0);

/// Appends the time of a save, local date and time in the form of ctime: 24 characters, no line end. A pseudo
/// entry has no time and says so.
void append_save_time(std::string& line, std::int32_t seconds);

/// Appends version number and machine type of a save.
void append_save_numbers(std::string& line, const AuditEntry& entry);

/// The note that precedes saves of which some have no time.
void print_pseudo_entries_note(const PartitionEntry& partition, const AuditTrail& audit);

/// The audit trail as read: a line for each program version, below it a line for each of its saves;
/// `with_cookies` adds magic cookie and maximum object id.
void print_audit_trail(const ObjectManagerPartition& om, bool with_cookies);

}  // namespace inspect
