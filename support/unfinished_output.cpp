#include "support/unfinished_output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstdlib>

namespace support {

namespace {

/// The path is absolute and free of links, so that what is removed is the file and no link to it.
struct Entry {
  std::atomic<bool> is_used = false;
  dev_t device = 0;
  ino_t inode = 0;
  char path[PATH_MAX] = {};
};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler reads it");

std::array<Entry, UnfinishedOutput::kMost> entries;

bool is_still_there(const Entry& entry) {
  struct stat found = {};
  return ::lstat(entry.path, &found) == 0 && found.st_dev == entry.device && found.st_ino == entry.inode;
}

/// What "/dev/stdout" leads to is not ours to remove.
bool is_standard_stream(const struct stat& file) {
  for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
    struct stat stream = {};
    if (::fstat(descriptor, &stream) == 0 && stream.st_dev == file.st_dev && stream.st_ino == file.st_ino) {
      return true;
    }
  }
  return false;
}

}  // namespace

SignalsHeld::SignalsHeld() {
  sigset_t all;
  ::sigfillset(&all);
  ::sigprocmask(SIG_BLOCK, &all, &before_);
}

SignalsHeld::~SignalsHeld() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }

UnfinishedOutput::UnfinishedOutput(const char* name, int descriptor) {
  struct stat found = {};
  if (::fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode) || is_standard_stream(found)) return;
  std::size_t free = 0;
  while (free < kMost && entries[free].is_used) ++free;
  if (free == kMost || ::realpath(name, entries[free].path) == nullptr) return;
  entries[free].device = found.st_dev;
  entries[free].inode = found.st_ino;
  entries[free].is_used = true;
  entry_ = free;
}

UnfinishedOutput::~UnfinishedOutput() {
  if (entry_ != kNone) entries[entry_].is_used = false;
}

void remove_unfinished_outputs() noexcept {
  for (const Entry& entry : entries) {
    if (entry.is_used && is_still_there(entry)) ::unlink(entry.path);
  }
}

}  // namespace support
