#pragma once

#include <span>
#include <string_view>

namespace inspect {

/// What the first bytes of a file that is no part look like: "PDF", "ZIP", "text", ...; "binary data" when
/// nothing is recognised. `bytes` are the first few hundred of the file, or all of a shorter one.
std::string_view file_kind(std::span<const unsigned char> bytes);

/// True when a flat file begins like a part header, whatever follows.
bool begins_like_part_header(std::span<const unsigned char> bytes);

/// True when a file begins like a part that was changed by a copy as text: the line ends in the first bytes
/// were taken out, put in or exchanged, or the high bits of a container's signature are gone.
bool begins_like_text_copy(std::span<const unsigned char> bytes);

}  // namespace inspect
