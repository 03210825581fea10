#include "cfi/writing/replacement_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "cfi/cfi_error_codes.h"
#include "cfi/writing/lock_bytes_factories.h"

namespace VRX::System::CFI {

namespace {

// A file that is replaced keeps its permissions; a new one gets those that any program would give it.
mode_t wanted_mode(const std::string& name) {
  struct stat old = {};
  if (::stat(name.c_str(), &old) == 0) return old.st_mode & 07777U;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666U & ~mask;
}

}  // namespace

// Reserves the temporary name.
ReplacementFile::ReplacementFile(std::string name, Reserved)
    : name_(std::move(name)), temporary_name_(name_ + ".XXXXXX") {
  const support::SignalsHeld held;
  const int descriptor = ::mkostemp(temporary_name_.data(), O_CLOEXEC);
  if (descriptor < 0) throw system_call_failed(errno);
  unfinished_ = support::UnfinishedOutput(temporary_name_.c_str(), descriptor);
  ::close(descriptor);
}

// What fails from here on leaves a whole object behind, whose destructor removes the file.
ReplacementFile::ReplacementFile(std::string name) : ReplacementFile(std::move(name), Reserved{}) {
  const ReadWriteLockBytesFactory for_update;
  channel_ = make_lock_bytes(nullptr, &for_update, temporary_name_);
}

ReplacementFile::~ReplacementFile() {
  if (!is_committed_) ::unlink(temporary_name_.c_str());
}

void ReplacementFile::commit() {
  if (::chmod(temporary_name_.c_str(), wanted_mode(name_)) != 0) throw system_call_failed(errno);
  if (std::rename(temporary_name_.c_str(), name_.c_str()) != 0) throw system_call_failed(errno);
  is_committed_ = true;
}

}  // namespace VRX::System::CFI
