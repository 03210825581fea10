#include "sweep/file_finder.h"

#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

namespace sweep {

namespace {

bool is_folder(const std::string& name) {
  struct stat found = {};
  return ::stat(name.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

}  // namespace

FileFinder::FileFinder(const FileQuery& query) : query_(query) {
  if (query.name_list) list_.emplace(*query.name_list);
}

bool FileFinder::is_wanted(const FoundFile& found) const {
  const char* const name = found.name.c_str() + (found.name.rfind('/') + 1);
  const auto matches = [name](const std::string& pattern) {
    return ::fnmatch(pattern.c_str(), name, FNM_CASEFOLD) == 0;
  };
  const bool all = query_.patterns.empty() || !found.trouble.empty();
  return (all || std::ranges::any_of(query_.patterns, matches)) && query_.shard.has(found.name);
}

std::optional<std::string> FileFinder::next_name() {
  if (next_name_ < query_.names.size()) return query_.names[next_name_++];
  return list_ ? list_->next() : std::nullopt;
}

/// Finds the next file, or returns the descriptor that must be waited for to find it.
int FileFinder::find(bool may_wait) {
  while (!ahead_) {
    if (auto found = walk_.next()) {
      if (is_wanted(*found)) ahead_ = std::move(found);
      continue;
    }
    if (!may_wait && list_ && next_name_ == query_.names.size()) {
      const int descriptor = list_->awaited();
      if (descriptor >= 0) return descriptor;
    }
    auto name = next_name();
    if (!name) break;
    if (is_folder(*name)) {
      walk_ = FolderWalk(*name);
    } else if (query_.shard.has(*name)) {
      ahead_ = FoundFile{std::move(*name), {}};
    }
  }
  return -1;
}

std::optional<FoundFile> FileFinder::next() {
  find(true);
  return std::exchange(ahead_, std::nullopt);
}

int FileFinder::awaited() { return find(false); }

}  // namespace sweep
