#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "sweep/file_source.h"
#include "sweep/folder_walk.h"
#include "sweep/found_file.h"
#include "sweep/name_list.h"
#include "sweep/shard.h"

namespace sweep {

/// Which files are wanted.
struct FileQuery {
  std::vector<std::string> names = {};                  ///< of files and folders
  std::optional<std::string> name_list = std::nullopt;  ///< a file of more names; see NameList
  std::vector<std::string> patterns = {};  ///< as of a shell: of the files in a folder those that match one
  Shard shard = {};
};

/// Finds the files of a query one after the other: the names in their order, then those of the list; a folder
/// stands for all files below it. What is named is a file unless it is a folder, whether it exists or not.
class FileFinder final : public FileSource {
 public:
  /// The query outlives the finder. Raises 641002 when the list of names cannot be opened.
  explicit FileFinder(const FileQuery& query);

  /// The next file of the shard; nothing at the end. Raises 641002 when the list of names cannot be read.
  std::optional<FoundFile> next() override;

  int awaited() override;

 private:
  int find(bool may_wait);
  std::optional<std::string> next_name();
  bool is_wanted(const FoundFile& found) const;

  const FileQuery& query_;
  std::size_t next_name_ = 0;
  std::optional<NameList> list_;
  FolderWalk walk_;
  std::optional<FoundFile> ahead_;  ///< found already
};

}  // namespace sweep
