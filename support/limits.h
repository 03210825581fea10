#pragma once

#include <cstddef>
#include <cstdint>

/// Every limit that a file of hostile or damaged bytes runs into, in one place. Beyond one of them the reader
/// that it protects reports an error. Numbers that only describe a layout stand with that layout.
///
/// Those of the first group come from the format: beyond them lies no sound file. Those of the second are
/// ours, far above what real parts hold: they keep memory and time in proportion to the file.
namespace limits {

// Set by the format.

/// Bytes of an element's path in an index; its length field has two bits to spare. The bytes must also be
/// left in the file before memory is taken for them.
inline constexpr std::int32_t kPathBytes = 0x3FFFFFFF;

/// 16-bit words of the part header's copy in an index, which is read into memory whole.
inline constexpr int kPartHeaderUnits = 4096;

/// 16-bit words of a directory header: those of the longest version, read into an array.
inline constexpr std::int16_t kDirectoryWords = 16;

/// Characters of the part's description and of its customer area.
inline constexpr std::int16_t kHeaderTextCharacters = 132;

/// Characters of a string in an object-manager partition, whose length field could claim more.
inline constexpr std::int32_t kObjectStringCharacters = 32000;

/// Bytes of the names in the header of an object-manager partition.
inline constexpr std::int32_t kMachineNameBytes = 64;
inline constexpr std::int32_t kFileNameBytes = 1024;

/// Classes of an object-manager partition, and bytes of the names that describe them.
inline constexpr std::int32_t kClasses = 9998;
inline constexpr std::int32_t kClassNameBytes = 1024;
inline constexpr std::int16_t kHandleSchemaNameBytes = 128;
inline constexpr std::int16_t kHandleClassNameBytes = 1024;

/// Bytes of the text in front of Brepsolid data.
inline constexpr std::uint32_t kBrepsolidHeaderBytes = 4096;

// Ours: containers.

/// Components of a path, so levels of the tree that it stands in: one path of an index could name millions.
inline constexpr std::size_t kPathComponents = 32768;

/// Storages that no entry lists and only paths imply: two bytes of a path can make one, each costs memory.
inline constexpr std::size_t kImpliedStorages = 1'000'000;

/// Bytes of the sectors kept of a compound file, whose allocation table may be as large as the file.
inline constexpr std::uint32_t kCachedSectorBytes = 32U * 1024 * 1024;

/// Damaged entries of a compound directory that are reported each by itself: thousands say no more than a few
/// and their number.
inline constexpr std::size_t kReportedEntries = 20;

/// Faults of a layout of each kind that are told by themselves, and bytes of the end of a path that tell
/// which element is meant: a file may hold as many faults as elements, each under a path of many megabytes.
inline constexpr std::size_t kLayoutFaults = 100;
inline constexpr std::size_t kFaultPathBytes = 4096;

/// Runs kept of a sector chain, and marks kept instead of one in more runs, which may be as many as it has
/// sectors: half a MiB and one MiB. Marks stand 64 sectors apart, or further in a chain above 8 GiB.
inline constexpr std::size_t kSectorRuns = 65536;
inline constexpr std::size_t kSectorMarks = std::size_t{1} << 18U;

/// Levels of a listing, and bytes by which all of its lines together are indented beyond the usual: the
/// indentation grows with the square of the depth. Room for one path of the deepest nesting, not for many.
inline constexpr std::size_t kListedLevels = 16384;
inline constexpr std::size_t kIndentationBytes = std::size_t{1} << 30U;

/// Bytes of one text of a feature toggle, which is a name or a short value.
inline constexpr std::uint32_t kToggleTextBytes = std::uint32_t{4} << 20U;

/// What an LZ4-framed stream may expand to: so many times the bytes that are stored, and at least so many
/// bytes. A block can say 255 times as much, but only for one byte over and over; a part is mostly
/// coordinates and data that are deflated already, and comes out two to ten times as long. The floor leaves
/// room for a small stream that is all alike, and fills no disk.
inline constexpr std::uint64_t kExpansionRatio = 64;
inline constexpr std::uint64_t kExpansionFloor = std::uint64_t{16} << 20U;

// Ours: part files.

/// Partitions of a part file: each costs some hundred bytes of memory, and real parts hold dozens.
inline constexpr std::size_t kPartitions = 200'000;

/// Bytes of memory for all partitions together with the texts and saves of the object-manager partition that
/// is being read, by a count that errs upwards. With what the program takes for itself they stay below 64
/// MiB.
inline constexpr std::size_t kPartitionMemory = std::size_t{55} << 20U;

/// What one object-manager partition makes the program keep.
inline constexpr std::size_t kSchemas = 100'000;
inline constexpr std::size_t kSharedStrings = 2'000'000;
inline constexpr std::size_t kAuditLinks = 1'100'000;  ///< audit objects and entries together
inline constexpr std::size_t kChainHeads = 1'000'000;

/// Headers of object-manager partitions kept for a second reader, each of up to 1.5 KiB: real parts have
/// dozens.
inline constexpr std::size_t kKeptHeaders = 256;

/// How often the bytes of a file may be read in all, as objects, as modeller data, and as JT bodies of a
/// stream: positions lead anywhere, and partitions or bodies may share a place or go back without end. Sound
/// ones do not overlap; those of objects are read once for the filing history and once for their listing.
inline constexpr std::uint64_t kReadsOfAllBytes = 8;

/// The same of objects, where damage ends no reading: nothing stops at the first partition that goes astray.
inline constexpr std::uint64_t kReadsOfDamagedObjects = 4;

/// Bytes that all deflated data of a part may expand to, by the bytes of the file: what one byte can expand
/// to at best. Only framing, which is an expansion of its own, or data that overlap can come to more.
inline constexpr std::uint64_t kDeflateRatio = 1032;

/// The same for one object-manager partition.
inline constexpr std::uint64_t kReadsInOnePartition = 2;

/// Fields of object-manager data that are traced, for each byte of the file on disk. A field may take one
/// byte or none, and prints a line or two; a framed part stream has up to 255 bytes for one on disk. Sound
/// parts have a field in two bytes and more, and frames make them smaller by a few times only.
inline constexpr std::uint64_t kTracedFieldsPerByte = 8;

/// JT bodies that are written: so many, and one more for so many bytes of the file. A table may be framed,
/// and an output costs far more than its entry.
inline constexpr std::uint64_t kJtBodies = 1000;
inline constexpr std::uint64_t kBytesOfJtBody = 4;

/// Outputs of JT bodies whose names are remembered, to tell when one replaces another.
inline constexpr std::size_t kRememberedBodies = 200'000;

/// Bytes of an output's name with what extraction adds to it: the longest that the interface takes.
inline constexpr std::size_t kOutputNameBytes = 3469;

/// Rows of the lists in the document of a part whose bytes may be framed: so many, and one more for each byte
/// of the file. A row of a sound part has more bytes than that, on disk too. JT bodies have kJtBodies.
inline constexpr std::uint64_t kDocumentRows = 10'000;

/// Bytes of the header texts of solids that a document tells, beyond so many times the bytes of the file: any
/// number of partitions may borrow one text.
inline constexpr std::uint64_t kDocumentTexts = std::uint64_t{1} << 20U;

// Ours: streams without a known layout, in which any bytes may look like a text.

/// Bytes of one printable text; a longer run comes in pieces.
inline constexpr std::size_t kPrintableTextBytes = 4096;

/// Modules of the external references, bytes of the name of one, and bytes of all names that are kept.
inline constexpr std::size_t kModules = 10'000;
inline constexpr std::size_t kModuleNameBytes = 1024;
inline constexpr std::size_t kKeptNameBytes = std::size_t{16} << 20U;

/// Bytes of a compatibility line; a longer one is printed in pieces.
inline constexpr std::size_t kCompatibilityLineBytes = 65536;

}  // namespace limits
