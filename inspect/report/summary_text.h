#pragma once

#include "inspect/sections/filing_history.h"
#include "inspect/sections/part_summary.h"
#include "inspect/sections/release.h"
#include "support/console.h"

/// The texts of the part file summary, in its order.
namespace inspect {

void print_release_line(support::Console& console, const ReleaseSection& release);

/// `shown_name`: the file's name, fit for a terminal.
void print_summary_heading(support::Console& console, const char* shown_name, const PartRecords& part);
void print_summary_opening(support::Console& console, const PartRecords& part);
void print_old_history(support::Console& console, const OldHistory& history);
void print_unreadable_history(support::Console& console, const UnreadableHistory& history);
void print_summary_properties(support::Console& console, const SummaryProperties& properties);
void print_part_modules(support::Console& console, const PartModules& modules);
void print_summary_details(support::Console& console, const SummaryDetails& details);
void print_directories(support::Console& console, const PartRecords& part);
void print_retrieval(support::Console& console, Retrieval retrieval);

}  // namespace inspect
