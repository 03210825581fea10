#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sweep/found_file.h"

namespace sweep {

/// All regular files below a folder, in the order of their names' bytes within each folder. A link to a file
/// counts as the file; one to a folder, or to nothing, is passed over. Of each folder on the way down the
/// names are in memory, once.
class FolderWalk {
 public:
  /// Nothing to walk.
  FolderWalk() = default;

  explicit FolderWalk(const std::string& folder);

  /// The next file, or a folder that could not be read; nothing at the end.
  std::optional<FoundFile> next();

 private:
  /// Names of one folder: each with a byte for its kind in front and a zero byte behind it.
  struct Level {
    std::string prefix;
    std::string entries;
    std::vector<std::size_t> order;  ///< where the entries begin; the next is the last
  };

  enum class Kind { file, folder, other };

  void enter(const std::string& folder, int flags);
  static int list(int descriptor, Level& level);
  static Kind kind_of(unsigned char type, const std::string& path);

  std::vector<Level> levels_;
  std::optional<FoundFile> trouble_;  ///< told before what was found beside it
};

}  // namespace sweep
