#pragma once

#include <cstddef>
#include <cstdint>

#include "cfi/element.h"

/// The maker's storage file. All integers are little-endian; a UString is an Int32 length and that many
/// bytes.
///
///   offset  width  field
///        0      8  file type signature "KVPMSSTR"
///        8      1  file format version, 0 to 6
///        9      8  end fast load data offset               (version 4 and later)
///        9      8  start footer offset, -1: no footer      (at 17 in version 4 and later)
///       17      -  header index                            (at 25 in version 4 and later)
///
/// An index, "HEADER" behind the fixed header or "FOOTER" at the start footer offset:
///
///       6  index signature                                 (version 1 and later)
///       4  element count
///          per element a UString, its path from "/Root"; one that ends with "/" is a storage, then
///         16  class identifier: Int32, Int16, Int16, 8 bytes
///          otherwise a stream, then
///          8  element offset   8  element size
///       2  part file header length in 16-bit units         (header index, version 3 and later)
///      2n  part file header
///       4  XXH32 (seed 0) of all bytes of the index before (version 2 and later)
namespace VRX::System::CFI {

inline constexpr int kCurrentVersion = 6;
inline constexpr int kFirstVersionWithIndexSignature = 1;
inline constexpr int kFirstVersionWithChecksum = 2;
inline constexpr int kFirstVersionWithPartHeader = 3;
inline constexpr int kFirstVersionWithFastLoadEnd = 4;
inline constexpr int kFirstVersionToTrustFastLoadEnd = 6;

inline constexpr std::uint64_t kVersionOffset = 8;
inline constexpr std::size_t kIndexSignatureSize = 6;
inline constexpr std::int64_t kNoFooter = -1;

/// The fewest bytes that an index entry takes: a length, one byte of path and the two fields of a stream.
inline constexpr std::uint64_t kSmallestEntrySize = 21;

constexpr std::uint64_t header_index_offset(int version) {
  return version >= kFirstVersionWithFastLoadEnd ? 25 : 17;
}

constexpr const char* index_signature(IndexArea area) {
  return area == IndexArea::header ? "HEADER" : "FOOTER";
}

}  // namespace VRX::System::CFI
