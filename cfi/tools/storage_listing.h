#pragma once

#include <cstddef>
#include <cstdint>

#include "cfi/storage_file.h"

namespace cfi_tools {

/// What is told of a storage file before its elements.
struct StorageListingHead {
  VRX::System::CFI::FileKind kind = VRX::System::CFI::FileKind::flat;
  int format_number = 0;           ///< of the maker's format
  int fast_load_version = 0;       ///< of the fast-load partition; 0 when none is recorded
  std::int64_t fast_load_end = 0;  ///< file offset behind it
};

/// Takes a listing row by row, as it becomes known; there may be millions of rows.
class StorageListingSink {
 public:
  StorageListingSink() = default;
  StorageListingSink(const StorageListingSink&) = delete;
  StorageListingSink& operator=(const StorageListingSink&) = delete;
  virtual ~StorageListingSink() = default;

  /// First of all, once.
  virtual void begin(const StorageListingHead& head) = 0;

  /// Each element, a storage before what it holds; `depth` is 0 directly below the root.
  virtual void element(const VRX::System::CFI::ElementNode& node, std::size_t depth) = 0;

  /// Behind the last element.
  virtual void end_of_elements() = 0;
  virtual void truncation(bool is_truncated) = 0;
};

/// Hands over the storages and streams of a file in the order of its format, and whether the file has been
/// truncated. Where the footer index of the maker's format is damaged, what the header index lists is handed
/// over before its ErrorEscape is raised. Raises 1021265 when storages are nested more than 16384 deep, or so
/// deep in so many places that indentation by 4 columns a level would fill 1 GiB.
void list_storages(VRX::System::CFI::StorageFile& file, StorageListingSink& sink);

}  // namespace cfi_tools
