#include "tests/support/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace test_support {

namespace {

void require(bool done) {
  if (!done) throw std::system_error(errno, std::generic_category(), "file in memory");
}

}  // namespace

MemoryFile::MemoryFile(std::string_view bytes) : descriptor_(::memfd_create("test", MFD_CLOEXEC)) {
  require(descriptor_ >= 0);
  write_at(0, bytes);
}

MemoryFile::~MemoryFile() { ::close(descriptor_); }

std::string MemoryFile::name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

void MemoryFile::write_at(std::uint64_t offset, std::string_view bytes) {
  const ssize_t written = ::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
  require(written == static_cast<ssize_t>(bytes.size()));
}

void MemoryFile::set_length(std::uint64_t length) {
  require(::ftruncate(descriptor_, static_cast<off_t>(length)) == 0);
}

}  // namespace test_support
