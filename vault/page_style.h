#pragma once

#include <string_view>

namespace vault {

/// The style sheet of the page of a catalogue. The page allows it by its hash alone.
extern const std::string_view kPageStyle;

}  // namespace vault
