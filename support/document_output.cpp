#include "support/document_output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "support/part_signature.h"
#include "support/printable.h"
#include "support/system_failure.h"

namespace support {

namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} * 1024;

/// Where a link leads, so that it is the file that is replaced and not the link.
std::string real_name(const std::string& name) {
  const std::unique_ptr<char, void (*)(void*)> path(::realpath(name.c_str(), nullptr), std::free);
  return path ? path.get() : name;
}

/// Whoever started the program may have given it an output that does not wait.
void wait_until_writable(int descriptor) {
  pollfd taker = {descriptor, POLLOUT, 0};
  ::poll(&taker, 1, -1);
}

}  // namespace

DocumentOutput::DocumentOutput() : shown_name_("standard output") {}

DocumentOutput::DocumentOutput(const std::string& name) : shown_name_(printable(name)) {
  struct stat found = {};
  replaces_ = ::stat(name.c_str(), &found) == 0;
  replaced_ = {found.st_dev, found.st_ino};
  if (replaces_ && !S_ISREG(found.st_mode)) {
    replaces_ = false;
    open_as_it_stands(name);
  } else if (is_part_file(name)) {
    throw ErrorEscape("support", kSystemFailure,
                      "output file " + shown_name_ + " is a part file, which is never written over");
  } else {
    open_pending(replaces_ ? real_name(name) : name);
  }
}

void DocumentOutput::open_as_it_stands(const std::string& name) {
  file_ = Descriptor(::open(name.c_str(), O_WRONLY | O_CLOEXEC));
  if (!file_.is_open()) fail(errno);
}

void DocumentOutput::open_pending(const std::string& name) {
  pending_ = std::make_unique<PendingFile>(name);
  if (pending_->error() != 0) fail(pending_->error());
  file_ = Descriptor(::open(pending_->temporary_name().c_str(), O_WRONLY | O_CLOEXEC));
  if (!file_.is_open()) fail(errno);
}

void DocumentOutput::fail(int error) const { throw system_failure("write to " + shown_name_, error); }

void DocumentOutput::write(std::string_view bytes) {
  if (bytes.size() > kPieceBytes - waiting_.size()) flush();
  if (bytes.size() > kPieceBytes) {
    write_through(bytes);
  } else {
    waiting_.append(bytes);
  }
}

void DocumentOutput::write_through(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor(), bytes.data(), bytes.size());
    if (written > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (written < 0 && errno == EAGAIN) {
      wait_until_writable(descriptor());
    } else if (written == 0 || errno != EINTR) {
      fail(written == 0 ? ENOSPC : errno);
    }
  }
}

void DocumentOutput::flush() {
  write_through(waiting_);
  waiting_.clear();
}

void DocumentOutput::commit() {
  flush();
  if (pending_ && ::fsync(file_.number()) != 0) fail(errno);
  // A file system may tell only now that a write has failed.
  if (!(file_.is_open() ? file_.close() : ::close(::dup(STDOUT_FILENO)) == 0)) fail(errno);
  if (pending_ && !pending_->commit()) fail(pending_->error());
}

bool DocumentOutput::would_replace(const std::string& name) const {
  return replaces_ && is_same_file(name, replaced_);
}

}  // namespace support
