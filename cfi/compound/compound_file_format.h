#pragma once

#include <cstddef>
#include <cstdint>

namespace VRX::System::CFI::compound {

// The Microsoft compound file: a header, then sectors of equal size. All integers are little-endian.
//
//   header (sector -1)        offset  size  field
//                                  0     8  signature
//                                  8    16  class identifier, unused
//                                 24     2  minor version
//                                 26     2  major version: 3 or 4
//                                 28     2  byte order mark FFFE
//                                 30     2  sector shift: 9 or 12 (usual: version 3, 4)
//                                 32     2  mini sector shift: 6
//                                 34     6  reserved
//                                 40     4  number of directory sectors (0 in version 3)
//                                 44     4  number of FAT sectors
//                                 48     4  first sector of the directory
//                                 52     4  transaction signature
//                                 56     4  mini stream cutoff: 4096
//                                 60     4  first sector of the mini FAT
//                                 64     4  number of mini FAT sectors
//                                 68     4  first DIFAT sector
//                                 72     4  number of DIFAT sectors
//                                 76   436  the first 109 sectors of the FAT
//
// The FAT holds for every sector the sector that follows it in its chain. Which sectors hold the FAT is
// listed in the header and then in a chain of DIFAT sectors, whose last entry is the next DIFAT sector.
// Streams shorter than the cutoff lie in mini sectors of 64 bytes inside the mini stream, which is the
// stream of the root entry; the mini FAT chains mini sectors as the FAT chains sectors.
namespace header {
inline constexpr std::size_t kSize = 512;
inline constexpr std::size_t kMajorVersion = 26;
inline constexpr std::size_t kByteOrder = 28;
inline constexpr std::size_t kSectorShift = 30;
inline constexpr std::size_t kMiniSectorShift = 32;
inline constexpr std::size_t kDirectorySectorCount = 40;
inline constexpr std::size_t kFatSectorCount = 44;
inline constexpr std::size_t kFirstDirectorySector = 48;
inline constexpr std::size_t kMiniStreamCutoff = 56;
inline constexpr std::size_t kFirstMiniFatSector = 60;
inline constexpr std::size_t kMiniFatSectorCount = 64;
inline constexpr std::size_t kFirstDifatSector = 68;
inline constexpr std::size_t kDifatSectorCount = 72;
inline constexpr std::size_t kDifat = 76;
inline constexpr std::size_t kDifatEntries = 109;
static_assert(kDifat + 4 * kDifatEntries == kSize);
}  // namespace header

inline constexpr unsigned kByteOrderMark = 0xFFFE;
inline constexpr unsigned kMiniSectorShift = 6;
inline constexpr std::uint32_t kMiniSectorSize = 1U << kMiniSectorShift;
inline constexpr std::uint32_t kMiniStreamCutoff = 4096;
inline constexpr std::size_t kFatEntrySize = 4;

/// The highest sector number that can name a sector; the numbers above it are marks.
inline constexpr std::uint32_t kMaxRegularSector = 0xFFFFFFFA;
inline constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE;
inline constexpr std::uint32_t kFreeSector = 0xFFFFFFFF;

// The directory is an array of entries in a chain of sectors; entry 0 is the root storage. The children of
// a storage form a binary tree through their sibling links.
//
//   directory entry           offset  size  field
//                                  0    64  name in UTF-16, ended by a zero unit
//                                 64     2  bytes of the name, its end included: 4 to 64
//                                 66     1  object type: 0 unused, 1 storage, 2 stream, 5 root
//                                 67     1  colour in the tree of siblings
//                                 68     4  left sibling
//                                 72     4  right sibling
//                                 76     4  child: the top of the tree of children
//                                 80    16  class identifier
//                                 96     4  state bits
//                                100    16  times of creation and change
//                                116     4  first sector, of a mini stream the first mini sector
//                                120     8  bytes of the stream; version 3 uses the lower 4
namespace entry {
inline constexpr std::size_t kSize = 128;
inline constexpr std::size_t kNameLength = 64;
inline constexpr std::size_t kMaxNameBytes = 64;
inline constexpr std::size_t kType = 66;
inline constexpr std::size_t kLeftSibling = 68;
inline constexpr std::size_t kRightSibling = 72;
inline constexpr std::size_t kChild = 76;
inline constexpr std::size_t kClassId = 80;
inline constexpr std::size_t kFirstSector = 116;
inline constexpr std::size_t kStreamSize = 120;
}  // namespace entry

inline constexpr unsigned char kStorageObject = 1;
inline constexpr unsigned char kStreamObject = 2;
inline constexpr unsigned char kRootObject = 5;

}  // namespace VRX::System::CFI::compound
