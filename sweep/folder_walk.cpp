#include "sweep/folder_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>

#include "support/descriptor.h"

namespace sweep {

namespace {

std::string with_slash(std::string folder) {
  while (folder.ends_with('/')) folder.pop_back();
  return folder += '/';
}

}  // namespace

FolderWalk::FolderWalk(const std::string& folder) { enter(folder, 0); }

/// What may be a file that cannot be looked at is one: whoever examines it will say why.
FolderWalk::Kind FolderWalk::kind_of(unsigned char type, const std::string& path) {
  if (type == DT_REG) return Kind::file;
  if (type == DT_DIR) return Kind::folder;
  if (type != DT_LNK && type != DT_UNKNOWN) return Kind::other;
  struct stat found = {};
  const bool is_link = type == DT_LNK || (::lstat(path.c_str(), &found) == 0 && S_ISLNK(found.st_mode));
  if (::stat(path.c_str(), &found) != 0) {
    const bool leads_nowhere = errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
    return leads_nowhere ? Kind::other : Kind::file;
  }
  if (S_ISREG(found.st_mode)) return Kind::file;
  return S_ISDIR(found.st_mode) && !is_link ? Kind::folder : Kind::other;
}

/// Returns the system's number for what kept it from reading on; 0 at the end.
int FolderWalk::list(int descriptor, Level& level) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::fdopendir(descriptor), ::closedir);
  if (!folder) return errno;
  while (true) {
    errno = 0;
    const dirent* entry = ::readdir(folder.get());
    if (entry == nullptr) return errno;
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    level.order.push_back(level.entries.size());
    level.entries += static_cast<char>(entry->d_type);
    level.entries.append(name).push_back('\0');
  }
}

void FolderWalk::enter(const std::string& folder, int flags) {
  support::Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
  Level level = {with_slash(folder), {}, {}};
  int error = opened.is_open() ? 0 : errno;
  if (error == 0) error = list(opened.release(), level);
  if (error != 0) trouble_ = {folder, std::string("the folder could not be read: ") + std::strerror(error)};
  const char* const entries = level.entries.data();
  std::ranges::sort(level.order, std::greater<>(),
                    [entries](std::size_t at) { return std::string_view(entries + at + 1); });
  levels_.push_back(std::move(level));
}

std::optional<FoundFile> FolderWalk::next() {
  while (true) {
    if (trouble_) return std::exchange(trouble_, std::nullopt);
    while (!levels_.empty() && levels_.back().order.empty()) levels_.pop_back();
    if (levels_.empty()) return std::nullopt;
    Level& level = levels_.back();
    const char* const entry = level.entries.data() + level.order.back();
    level.order.pop_back();
    std::string path = level.prefix + (entry + 1);
    const Kind kind = kind_of(static_cast<unsigned char>(*entry), path);
    if (kind == Kind::file) return FoundFile{std::move(path), {}};
    // It may have become a link since.
    if (kind == Kind::folder) enter(path, O_NOFOLLOW);
  }
}

}  // namespace sweep
