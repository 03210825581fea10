#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/element.h"

/// Which byte of a container's file belongs to what.
namespace VRX::System::CFI {

/// How far the bytes of a range are known to be what was written.
enum class Protection : std::uint8_t {
  verified,   ///< under a checksum that agrees
  failed,     ///< under a checksum that does not agree, or could not be read to its end
  decoded,    ///< read and plausible, under no checksum
  opaque,     ///< not interpreted
  unclaimed,  ///< in nobody's use
};

/// Bytes of the container's own. In the maker's format:
///
///   container.signature, container.format_version, container.fast_load_end (format version 4 and later),
///   container.footer_offset
///   container.header_index, container.footer_index          without their checksums
///   container.header_index.xxh32, container.footer_index.xxh32
///
/// In a compound file:
///
///   container.header                                        to the first sector
///   container.difat, container.fat, container.directory, container.mini_fat
///   container.mini_stream                                   mini sectors that are free
///   container.slack                                         behind a stream's end in its last sector
///   container.free_sectors
struct LayoutRange {
  std::uint64_t offset = 0;  ///< from the start of the file
  std::uint64_t length = 0;  ///< in bytes, never 0
  std::string_view owner;    ///< a literal
  Protection protection = Protection::decoded;
};

/// Bytes of a stream that lie side by side in the file.
struct StreamRun {
  ElementId stream = 0;
  std::uint64_t stream_offset = 0;
  std::uint64_t file_offset = 0;
  std::uint64_t length = 0;  ///< in bytes, never 0
};

/// Takes the ranges of a file one by one, in no promised order. All of them lie inside the file. In a sound
/// file no two overlap; in a damaged one a range that is `unclaimed` gives way to any other. What is in no
/// range has no owner.
class LayoutSink {
 public:
  LayoutSink() = default;
  LayoutSink(const LayoutSink&) = delete;
  LayoutSink& operator=(const LayoutSink&) = delete;
  virtual ~LayoutSink() = default;

  virtual void structure(const LayoutRange& range) = 0;
  virtual void stream_run(const StreamRun& run) = 0;
};

/// What is wrong with a layout although every field of it is legal.
enum class LayoutFaultKind : std::uint8_t {
  streams_overlap,  ///< a stream begins inside another
  index_overlap,    ///< a stream, or the footer index, lies over a range of the container's own
  listed_twice,     ///< two elements have the same path
};

struct LayoutFault {
  LayoutFaultKind kind = LayoutFaultKind::streams_overlap;
  /// The bytes that both claim, of elements listed twice those of the second stream: from the start of the
  /// file, as listed, so that they may lie beyond its end; 0 of storages and where streams lie in pieces.
  std::uint64_t offset = 0;
  std::uint64_t length = 0;

  std::string path;  ///< without "/Root/", empty for the root; or the owner of a range of the container's own
  std::string other;  ///< the same of what was there first
};

/// The first faults of each kind, and how many there are.
struct LayoutFaults {
  std::vector<LayoutFault> rows;
  std::uint64_t streams_overlap = 0;
  std::uint64_t index_overlap = 0;
  std::uint64_t listed_twice = 0;
};

}  // namespace VRX::System::CFI
