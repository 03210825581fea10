#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace VRX::System::CFI {

// Names of elements of a compound file: UTF-16 there, UTF-8 here. A surrogate without its partner takes
// the three bytes that UTF-8 would give its code; these are no valid UTF-8, so that printing escapes them.

std::string utf8_from_utf16(std::u16string_view text);

/// Nothing for bytes that no name of UTF-16 units comes out as.
std::optional<std::u16string> utf16_from_utf8(std::string_view text);

/// The upper-case form of one UTF-16 unit, where that is one unit too: Latin (ASCII, Latin-1, Extended-A),
/// Greek and Cyrillic without their historical extensions, Armenian, full-width Latin. All other units are
/// returned as they are, so that names in other scripts are told apart by case.
char16_t upper_case(char16_t unit);

/// The order in which siblings are kept: the shorter name first, then by upper-case units. Names that
/// compare equal are the same name. Below, at or above 0.
int compare_element_names(std::u16string_view left, std::u16string_view right);

}  // namespace VRX::System::CFI
