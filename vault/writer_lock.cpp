#include "vault/writer_lock.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "support/printable.h"
#include "support/system_failure.h"

namespace vault {

namespace {

constexpr off_t kLockedByte = off_t{1} << 60U;
constexpr std::chrono::milliseconds kPause{100};
constexpr int kMostPauses = 100;

}  // namespace

WriterLock::WriterLock(const std::string& file_name)
    : file_name_(file_name), file_(::open(file_name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
  if (!file_.is_open()) throw support::system_failure("open " + support::printable(file_name), errno);
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = kLockedByte;
  lock.l_len = 1;
  for (int pauses = 0; ::fcntl(file_.number(), F_OFD_SETLK, &lock) != 0; ++pauses) {
    if (errno != EAGAIN && errno != EACCES && errno != EINTR) {
      throw support::system_failure("lock " + support::printable(file_name), errno);
    }
    if (pauses == kMostPauses) {
      throw support::ErrorEscape("vault", support::kSystemFailure,
                                 "another update of " + support::printable(file_name) + " is under way");
    }
    std::this_thread::sleep_for(kPause);
  }
}

void WriterLock::check_name() const {
  struct stat own = {};
  struct stat named = {};
  const bool same = ::fstat(file_.number(), &own) == 0 && ::stat(file_name_.c_str(), &named) == 0 &&
                    own.st_dev == named.st_dev && own.st_ino == named.st_ino;
  if (same) return;
  throw support::ErrorEscape(
      "vault", support::kSystemFailure,
      "the catalogue was taken away while it was written: " + support::printable(file_name_));
}

}  // namespace vault
