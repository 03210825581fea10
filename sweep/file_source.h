#pragma once

#include <optional>

#include "sweep/found_file.h"

namespace sweep {

/// Where a sweep gets its files from.
class FileSource {
 public:
  virtual ~FileSource() = default;

  /// The next file; nothing at the end. Raises 641002 when there is no way to tell.
  virtual std::optional<FoundFile> next() = 0;

  /// The descriptor that next() would wait for; -1 when it would not wait. Raises what next() raises.
  virtual int awaited() { return -1; }
};

}  // namespace sweep
