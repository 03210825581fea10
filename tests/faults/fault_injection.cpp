#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Preloaded into a program, makes one of its calls into the C library go wrong:
//
//   FAULT_CALL   alloc, open, fstat, stat, read, write, close: which calls are counted
//   FAULT_AT     the number of the call that goes wrong, from 1; 0: none
//   FAULT_KIND   fail (default): the call fails with FAULT_ERRNO; lasting: so do all behind it;
//                end: a read finds the end of the file; shrink: the file loses its second half before the
//                read; signal: SIGTERM comes before the call
//   FAULT_PIECE  the most bytes that one read or write moves, 0: as asked
//   FAULT_REPORT when the program exits, "<calls counted> <descriptors more than at the start>" is written
//   there

namespace {

long number(const char* name) {
  const char* text = std::getenv(name);
  return text == nullptr ? 0 : std::strtol(text, nullptr, 10);
}

int open_descriptors() {
  int count = 0;
  for (int descriptor = 0; descriptor < 64; ++descriptor) count += ::fcntl(descriptor, F_GETFD) != -1;
  return count;
}

/// What is to happen. Nothing is counted before its constructor and behind its destructor has run.
struct Plan {
  const char* counted = std::getenv("FAULT_CALL");
  long at = number("FAULT_AT");
  int error = static_cast<int>(number("FAULT_ERRNO"));
  const char* kind = std::getenv("FAULT_KIND");
  std::size_t piece = static_cast<std::size_t>(number("FAULT_PIECE"));
  long count = 0;
  int descriptors_before = open_descriptors();

  ~Plan() {
    counted = nullptr;
    const int more = open_descriptors() - descriptors_before;
    const char* name = std::getenv("FAULT_REPORT");
    if (name == nullptr) return;
    char text[64];
    const int length = std::snprintf(text, sizeof text, "%ld %d\n", count, more);
    const int report = ::open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (::write(report, text, static_cast<std::size_t>(length)) < 0) std::abort();
    ::close(report);
  }

  bool is(const char* wanted) const { return kind != nullptr && std::strcmp(kind, wanted) == 0; }

  /// True when this call is the one that goes wrong; a signal is sent here.
  bool strikes(const char* call) {
    if (counted == nullptr || std::strcmp(counted, call) != 0) return false;
    ++count;
    if (at == 0 || (is("lasting") ? count < at : count != at)) return false;
    if (!is("signal")) return true;
    ::kill(::getpid(), SIGTERM);
    return false;
  }

  /// True when the call fails.
  bool fails(const char* call) {
    if (!strikes(call)) return false;
    errno = error;
    return true;
  }

  std::size_t at_most(std::size_t size) const { return piece == 0 ? size : std::min(size, piece); }
};

Plan plan;

/// Half of the file goes away under the reader.
void shrink(int descriptor) {
  char name[64];
  std::snprintf(name, sizeof name, "/proc/self/fd/%d", descriptor);
  struct stat found = {};
  if (::fstatat(AT_FDCWD, name, &found, 0) != 0 || ::truncate(name, found.st_size / 2) != 0) std::abort();
}

}  // namespace

// The C library's own calls, under their own names; what they forward to is not counted again.
extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the names under which the C library keeps its own.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(std::size_t size) { return plan.fails("alloc") ? nullptr : __libc_malloc(size); }
void* calloc(std::size_t count, std::size_t size) {
  return plan.fails("alloc") ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
  return plan.fails("alloc") ? nullptr : __libc_realloc(block, size);
}

int open64(const char* name, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
  const mode_t mode = creates ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return plan.fails("open") ? -1 : ::openat(AT_FDCWD, name, flags, mode);
}

int fstat64(int descriptor, struct stat64* found) {
  return plan.fails("fstat") ? -1 : ::fstatat64(descriptor, "", found, AT_EMPTY_PATH);
}
int stat64(const char* name, struct stat64* found) {
  return plan.fails("stat") ? -1 : ::fstatat64(AT_FDCWD, name, found, 0);
}

ssize_t pread64(int descriptor, void* bytes, std::size_t count, off_t offset) {
  if (plan.strikes("read")) {
    errno = plan.error;
    if (plan.is("end")) return 0;
    if (!plan.is("shrink")) return -1;
    shrink(descriptor);
  }
  const iovec piece = {bytes, plan.at_most(count)};
  return ::preadv(descriptor, &piece, 1, offset);
}

ssize_t write(int descriptor, const void* bytes, std::size_t count) {
  if (plan.fails("write")) return -1;
  const iovec piece = {const_cast<void*>(bytes), plan.at_most(count)};
  return ::writev(descriptor, &piece, 1);
}

int close(int descriptor) {
  const bool fails = plan.fails("close");
  const int result = static_cast<int>(::syscall(SYS_close, descriptor));
  return fails ? -1 : result;
}
}
