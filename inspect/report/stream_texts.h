#pragma once

#include <string_view>

#include "inspect/sections/compatibility.h"
#include "inspect/sections/external_references.h"
#include "inspect/sections/jt_bodies.h"

/// The texts of streams of the container.
namespace inspect {

void print_compatibility_line(const CompatibilityLine& line);

void print_jt_head(const JtHead& head);
void print_jt_table_heading();
void print_jt_body(const JtBody& body);

void print_reference_heading(ReferenceList list);
void print_reference(std::string_view text);

}  // namespace inspect
