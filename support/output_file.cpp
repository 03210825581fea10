#include "support/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace support {

bool is_same_file(const std::string& name, const FileIdentity& identity) {
  struct stat found = {};
  return ::stat(name.c_str(), &found) == 0 && FileIdentity{found.st_dev, found.st_ino} == identity;
}

OutputFile::OutputFile(OutputFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

OutputFile& OutputFile::operator=(OutputFile&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
  }
  return *this;
}

OutputFile::~OutputFile() { close(); }

bool OutputFile::open(const std::string& name) {
  close();
  descriptor_ = ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  return is_open();
}

bool OutputFile::write(const void* bytes, std::size_t count) {
  const auto* next = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = ::write(descriptor_, next, count);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    next += written;
    count -= static_cast<std::size_t>(written);
  }
  return true;
}

int OutputFile::release() { return std::exchange(descriptor_, -1); }

bool OutputFile::close() {
  if (!is_open()) return true;
  return ::close(std::exchange(descriptor_, -1)) == 0;
}

}  // namespace support
