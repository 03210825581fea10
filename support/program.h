#pragma once

namespace support {

/// The version text of the banners.
inline constexpr const char* kVersionText = "KX 2606";

/// The path under which the program was started, fit for a terminal; the prefix of every message.
const char* program_name();
void set_program_name(const char* name);

}  // namespace support
