#pragma once

#include <cstddef>
#include <string>

#include "inspect/records/inspect_file.h"

namespace inspect {

/// inspect_error when `count` has reached `limit`.
void check_om_limit(InspectFile& file, std::size_t count, std::size_t limit, const char* of_what);

/// Texts may be stored with a terminator, which is no part of them.
void cut_at_terminator(std::string& text);

}  // namespace inspect
