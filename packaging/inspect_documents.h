#pragma once

#include "packaging/templates.h"

namespace packaging {

/// Manual page and completions of vr_inspect, whose switches have rules of their own.
bool generate_inspect_documents(const Templates& templates);

}  // namespace packaging
