#include "support/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "support/part_signature.h"
#include "support/printable.h"
#include "support/program.h"

namespace support {

bool is_same_file(const std::string& name, const FileIdentity& identity) {
  struct stat found = {};
  return ::stat(name.c_str(), &found) == 0 && FileIdentity{found.st_dev, found.st_ino} == identity;
}

namespace {

/// Opening a pipe may wait for its reader, which must not be done with signals held.
bool is_pipe_or_device(const char* name) {
  struct stat found = {};
  return ::stat(name, &found) == 0 && !S_ISREG(found.st_mode);
}

/// Null when the file may be written.
const char* reason_to_refuse(const std::string& name, const FileIdentity& part) {
  if (is_same_file(name, part)) return "is the part file itself";
  return is_part_file(name) ? "is a part file, which is never written over" : nullptr;
}

int create(const char* name) { return ::open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666); }

}  // namespace

OutputFile::OutputFile(OutputFile&& other) noexcept
    : console_(other.console_),
      shown_name_(std::move(other.shown_name_)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      error_(other.error_),
      refused_(other.refused_),
      unfinished_(std::move(other.unfinished_)) {}

OutputFile::~OutputFile() {
  if (is_open() && !shown_name_.empty() && console_ != nullptr) {
    console_->print_message("%s: output file %s is incomplete\n", program_name(), shown_name_.c_str());
  }
  close();
}

bool OutputFile::open(const std::string& name, const FileIdentity& part) {
  shown_name_ = printable(name);
  if (const char* reason = reason_to_refuse(name, part)) {
    refused_ = true;
    if (console_ != nullptr) {
      console_->print_message("%s: output file %s %s\n", program_name(), shown_name_.c_str(), reason);
    }
    return false;
  }
  if (is_pipe_or_device(name.c_str())) {
    descriptor_ = create(name.c_str());
    if (!is_open()) error_ = errno;
    return is_open();
  }
  const SignalsHeld held;
  descriptor_ = create(name.c_str());
  if (!is_open()) error_ = errno;
  if (is_open()) unfinished_ = UnfinishedOutput(name.c_str(), descriptor_);
  return is_open();
}

bool OutputFile::write(const void* bytes, std::size_t count) {
  const auto* next = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = ::write(descriptor_, next, count);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      error_ = errno;
      return false;
    }
    next += written;
    count -= static_cast<std::size_t>(written);
  }
  return true;
}

std::optional<std::uint64_t> OutputFile::length() const {
  struct stat found = {};
  if (::fstat(descriptor_, &found) != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
  const off_t position = ::lseek(descriptor_, 0, SEEK_CUR);
  if (position < 0) return std::nullopt;
  return static_cast<std::uint64_t>(position);
}

bool OutputFile::cut(std::uint64_t length) {
  const auto position = static_cast<off_t>(length);
  const bool done =
      ::ftruncate(descriptor_, position) == 0 && ::lseek(descriptor_, position, SEEK_SET) == position;
  if (!done) error_ = errno;
  return done;
}

int OutputFile::release() { return std::exchange(descriptor_, -1); }

bool OutputFile::close() {
  if (!is_open()) return true;
  const bool closed = ::close(std::exchange(descriptor_, -1)) == 0;
  if (!closed) error_ = errno;
  unfinished_ = {};
  return closed;
}

}  // namespace support
