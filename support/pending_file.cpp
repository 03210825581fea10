#include "support/pending_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "support/descriptor.h"

namespace support {

namespace {

mode_t wanted_mode(const std::string& name) {
  struct stat old = {};
  if (::stat(name.c_str(), &old) == 0) return old.st_mode & 07777U;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666U & ~mask;
}

}  // namespace

PendingFile::PendingFile(std::string name) : name_(std::move(name)), temporary_name_(name_ + ".XXXXXX") {
  const SignalsHeld held;
  const Descriptor file(::mkostemp(temporary_name_.data(), O_CLOEXEC));
  is_there_ = file.is_open();
  if (is_there_) {
    unfinished_ = UnfinishedOutput(temporary_name_.c_str(), file.number());
  } else {
    error_ = errno;
  }
}

PendingFile::~PendingFile() {
  if (is_there_) ::unlink(temporary_name_.c_str());
}

bool PendingFile::commit() {
  const SignalsHeld held;
  const bool done = ::chmod(temporary_name_.c_str(), wanted_mode(name_)) == 0 &&
                    std::rename(temporary_name_.c_str(), name_.c_str()) == 0;
  if (done) {
    is_there_ = false;
  } else {
    error_ = errno;
  }
  return done;
}

}  // namespace support
