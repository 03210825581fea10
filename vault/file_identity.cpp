#include "vault/file_identity.h"

#include <sys/stat.h>

#include <cerrno>

namespace vault {

std::optional<FileIdentity> identity_of(const std::string& name) {
  constexpr std::int64_t kNanoseconds = 1'000'000'000;
  struct stat found = {};
  if (::stat(name.c_str(), &found) != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
  return FileIdentity{static_cast<std::int64_t>(found.st_dev), static_cast<std::int64_t>(found.st_ino),
                      found.st_size, found.st_mtim.tv_sec * kNanoseconds + found.st_mtim.tv_nsec};
}

bool is_gone(const std::string& name) {
  struct stat found = {};
  if (::stat(name.c_str(), &found) == 0) return !S_ISREG(found.st_mode);
  return errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
}

}  // namespace vault
