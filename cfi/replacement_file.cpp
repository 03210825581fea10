#include "cfi/replacement_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "cfi/cfi_error_codes.h"

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

ReplacementFile::ReplacementFile(std::string name)
    : name_(std::move(name)), temporary_name_(name_ + ".XXXXXX") {
  descriptor_ = ::mkostemp(temporary_name_.data(), O_CLOEXEC);
  if (descriptor_ < 0) throw make_error(kSystemCallFailed);
}

ReplacementFile::~ReplacementFile() {
  if (descriptor_ < 0) return;
  ::close(descriptor_);
  ::unlink(temporary_name_.c_str());
}

void ReplacementFile::write_at(std::uint64_t offset, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t done = ::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (done < 0 && errno == EINTR) continue;
    if (done < 0) throw make_error(kSystemCallFailed);
    bytes.remove_prefix(static_cast<std::size_t>(done));
    offset += static_cast<std::uint64_t>(done);
  }
}

void ReplacementFile::read_at(std::uint64_t offset, void* destination, std::size_t count) const {
  auto* next = static_cast<char*>(destination);
  while (count > 0) {
    const ssize_t got = ::pread(descriptor_, next, count, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw make_error(kSystemCallFailed);
    if (got == 0) throw make_error(kEndOfStream);
    next += got;
    offset += static_cast<std::uint64_t>(got);
    count -= static_cast<std::size_t>(got);
  }
}

void ReplacementFile::commit() {
  if (::fchmod(descriptor_, wanted_mode(name_)) != 0) throw make_error(kSystemCallFailed);
  if (::fsync(descriptor_) != 0) throw make_error(kSystemCallFailed);
  if (std::rename(temporary_name_.c_str(), name_.c_str()) != 0) throw make_error(kSystemCallFailed);
  ::close(descriptor_);
  descriptor_ = -1;
}

}  // namespace VRX::System::CFI
