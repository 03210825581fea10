#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace inspect {

/// "<major>.<2 digits>.<3 digits>" from the schema name of a header text (SCH=SCH_1200000_12006; is
/// 12.00.000), or "Unknown".
std::string kernel_version_of(std::string_view header_text);

/// The value of FORMAT in a header text; none when it has no such value.
std::optional<std::string_view> transmit_format_of(std::string_view header_text);

}  // namespace inspect
