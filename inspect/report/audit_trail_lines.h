#pragma once

#include <string>
#include <vector>

#include "inspect/records/object_manager_partition.h"

namespace inspect {

/// Texts of a partition's pool, escaped for a terminal. A long text is shown whole where it first occurs and
/// cut afterwards: a file that names one long text a million times must not fill the disk.
class ShownTexts {
 public:
  explicit ShownTexts(const TextPool& texts) : texts_(texts) {}

  /// Appends the text, padded with blanks to `width` columns; "<none>" for kNoText.
  void append(std::string& line, TextId id, std::size_t width = 0);

 private:
  const TextPool& texts_;
  std::vector<bool> shown_long_;
};

/// Seconds since 1970 as local date and time in the form of ctime, 24 characters without line end; what a
/// pseudo entry shows instead.
std::string save_time_text(std::int32_t seconds);

/// Appends ", version N, machine type N" of a save, aligned, and the line end.
void append_save_numbers(std::string& line, const AuditEntry& entry);

}  // namespace inspect
