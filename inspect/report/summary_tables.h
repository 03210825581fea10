#pragma once

#include <cstdint>
#include <string>

namespace inspect {

/// Texts of header values, in the words of the summary.
const char* units_name(std::int32_t units);

/// Null for a number that is no known codeset (0 to 28).
const char* codeset_name(std::int32_t codeset);

const char* clone_operation_name(std::int32_t code);
const char* template_type_name(std::int32_t type);
const char* pattern_data_name(std::int32_t mode);

/// Of the machine-format word of versions 11 to 14: its one set bit.
const char* machine_format_name(std::uint16_t word);

}  // namespace inspect
