#include "cfi/writing/writer_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "cfi/cfi_error_codes.h"
#include "support/output_file.h"

namespace VRX::System::CFI {

WriterLock::WriterLock(const std::string& name) : lock_name_(name + ".lock") {
  const support::SignalsHeld held;
  while (!take()) {
  }
  if (!file_.is_open()) {
    throw make_error(kUnsupportedOperation, "writing to a file that another writer has open: " + name);
  }
  unfinished_ = support::UnfinishedOutput(lock_name_.c_str(), file_.number());
}

// False when the writer before removed the file between its opening and its locking. Not open when another
// writer holds the lock.
bool WriterLock::take() {
  support::Descriptor file(
      ::open(lock_name_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
  if (!file.is_open()) throw system_call_failed(errno);
  if (::flock(file.number(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return true;
    if (errno == EINTR) return false;
    throw system_call_failed(errno);
  }
  struct stat found = {};
  if (::fstat(file.number(), &found) != 0) throw system_call_failed(errno);
  if (!support::is_same_file(lock_name_, {found.st_dev, found.st_ino})) return false;
  file_ = std::move(file);
  return true;
}

WriterLock::~WriterLock() {
  // Before the lock is given up, or a writer that holds it already could lose its file.
  ::unlink(lock_name_.c_str());
}

}  // namespace VRX::System::CFI
