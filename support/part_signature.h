#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace support {

// The first bytes by which a part is known, whatever holds it.

inline constexpr std::size_t kSignatureSize = 8;
inline constexpr std::string_view kKvpmSignature = "KVPMSSTR";
inline constexpr std::string_view kMicrosoftSignature{"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", kSignatureSize};

/// The count word of a part header: how many 16-bit words follow it, in either byte order.
inline constexpr std::array<std::uint16_t, 3> kPartHeaderCounts = {10, 12, 269};

/// True when `name` leads to a regular file that begins with the signature of a container, or whose name,
/// given or real, ends in ".prt" and that begins with the count word of a part header. A part stream that was
/// extracted under another name is no part in this sense. False for what cannot be read.
bool is_part_file(const std::string& name);

}  // namespace support
