#include "cfi/writing/replacement_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include "cfi/cfi_error_codes.h"
#include "cfi/writing/lock_bytes_factories.h"

namespace VRX::System::CFI {

namespace {

// The links of the last component alone: the folder is reached through its links, whatever they are. A link
// that leads nowhere yet leads to the file to be created.
std::string behind_links(const std::string& name) {
  constexpr int kMostLinks = 40;
  std::filesystem::path path = name;
  std::error_code error;
  for (int links = 0; std::filesystem::is_symlink(path, error); ++links) {
    if (links == kMostLinks) throw system_call_failed(ELOOP);
    const std::filesystem::path target = std::filesystem::read_symlink(path, error);
    if (error) throw system_call_failed(error.value());
    path = path.parent_path() / target;
  }
  return path;
}

// Replacing asks for nothing but a folder that can be written, and root may write anything: a file that is
// marked as not to be written is left alone all the same.
std::string writable_name(const std::string& name) {
  std::string target = behind_links(name);
  struct stat found = {};
  if (::stat(target.c_str(), &found) != 0) {
    if (errno == ENOENT) return target;
    throw system_call_failed(errno);
  }
  if (S_ISDIR(found.st_mode)) throw system_call_failed(EISDIR);
  if (!S_ISREG(found.st_mode)) throw make_error(kNotAStorageFile, target);
  constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
  if ((found.st_mode & kAnyWrite) == 0) throw system_call_failed(EACCES);
  if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) throw system_call_failed(errno);
  return target;
}

}  // namespace

ReplacementFile::ReplacementFile(const std::string& name)
    : name_(writable_name(name)), lock_(name_), file_(name_) {
  if (file_.error() != 0) throw system_call_failed(file_.error());
  const ReadWriteLockBytesFactory for_update;
  channel_ = make_lock_bytes(nullptr, &for_update, file_.temporary_name());
}

void ReplacementFile::require_replaced(const FileChannel& old) const {
  if (support::is_same_file(name_, old.identity())) return;
  throw make_error(kUnsupportedOperation, "writing to a file that was replaced meanwhile: " + name_);
}

void ReplacementFile::commit() {
  if (!file_.commit()) throw system_call_failed(file_.error());
}

}  // namespace VRX::System::CFI
