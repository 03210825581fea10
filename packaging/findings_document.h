#pragma once

#include "packaging/templates.h"

namespace packaging {

/// findings.md: what each rule means and what to do, from the table of rules.
bool generate_findings_document(const Templates& templates);

}  // namespace packaging
