#pragma once

#include "inspect/sections/filing_history.h"
#include "inspect/sections/part_summary.h"
#include "inspect/sections/release.h"

/// The texts of the part file summary, in its order.
namespace inspect {

void print_release_line(const ReleaseSection& release);

/// `shown_name`: the file's name, fit for a terminal.
void print_summary_heading(const char* shown_name, const PartRecords& part);
void print_summary_opening(const PartRecords& part);
void print_old_history(const OldHistory& history);
void print_unreadable_history(const UnreadableHistory& history);
void print_summary_properties(const SummaryProperties& properties);
void print_part_modules(const PartModules& modules);
void print_summary_details(const SummaryDetails& details);
void print_directories(const PartRecords& part);
void print_retrieval(Retrieval retrieval);

}  // namespace inspect
