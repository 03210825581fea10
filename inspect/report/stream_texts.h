#pragma once

#include <string_view>

#include "inspect/sections/compatibility.h"
#include "inspect/sections/external_references.h"
#include "inspect/sections/jt_bodies.h"
#include "support/console.h"

/// The texts of streams of the container.
namespace inspect {

void print_compatibility_line(support::Console& console, const CompatibilityLine& line);

void print_jt_head(support::Console& console, const JtHead& head);
void print_jt_table_heading(support::Console& console);
void print_jt_body(support::Console& console, const JtBody& body);

void print_reference_heading(support::Console& console, ReferenceList list);
void print_reference(support::Console& console, std::string_view text);

}  // namespace inspect
