#pragma once

#include <cstdint>
#include <string_view>

#include "inspect/records/partition_entry.h"

namespace inspect {

/// The header of one modeller partition and its text.
struct BrepsolidSection {
  const PartitionEntry& partition;
  std::string_view header_text;  ///< own or borrowed, without a closing '+'
};

/// A partition that refers to the body of another one and holds none.
struct ReferencePartition {
  const PartitionEntry& partition;
  bool pseudo = false;
};

/// What is done with the data of modeller partitions.
enum class CopyMode : std::uint8_t {
  extract,  ///< findings are problems of the file
  check,    ///< -check_checksums: findings are results
  scan,     ///< -scan: as check, silent about plain data
  examine,  ///< as scan, and all that differs is a result, also what follows from other differences
};

/// Sizes and checksums of one deflated data block, as saved in its trailer and as found.
struct DataBlockResult {
  const PartitionEntry& partition;
  std::uint64_t data_position = 0;  ///< of the stored bytes in the part stream; the trailer follows them
  std::uint64_t stored_size = 0;    ///< in bytes
  bool wide = false;                ///< a trailer of 24 bytes, else of 12
  int inflate_error = 0;            ///< zlib's code; 0 none
  std::uint64_t saved_size = 0;     ///< in bytes, expanded
  std::uint64_t found_size = 0;
  std::uint64_t saved_stored_checksum = 0;  ///< Adler-32 of the stored bytes
  std::uint32_t found_stored_checksum = 0;
  std::uint64_t saved_expanded_checksum = 0;  ///< Adler-32 of the expanded bytes
  std::uint32_t found_expanded_checksum = 0;

  bool size_differs() const { return inflate_error == 0 && saved_size != found_size; }
  bool stored_differs() const { return saved_stored_checksum != found_stored_checksum; }
  bool expanded_differs() const { return saved_expanded_checksum != found_expanded_checksum; }
};

/// One file that an extraction has written.
struct ExtractedBlock {
  const PartitionEntry& partition;
  std::string_view file_name;
  std::string_view kernel_version;
  bool compressed = false;
  bool binary = true;
};

/// Takes what becomes known of modeller partitions while they are read, checked and extracted.
class SolidSink {
 public:
  virtual ~SolidSink() = default;

  /// No partition has a header text that this one, without one of its own, could borrow.
  virtual void take_missing_header(const PartitionEntry&) {}
  virtual void take_brepsolid(const BrepsolidSection&) {}
  virtual void take_skipped_reference(const ReferencePartition&) {}
  virtual void take_checked_block(const DataBlockResult&) {}
  virtual void take_plain_block(const PartitionEntry&) {}      ///< it has nothing that could be checked
  virtual void take_missing_trailer(const PartitionEntry&) {}  ///< of a checked block
  virtual void take_extraction(const ExtractedBlock&) {}

 protected:
  SolidSink() = default;
  SolidSink(const SolidSink&) = default;
  SolidSink& operator=(const SolidSink&) = default;
};

}  // namespace inspect
