#include "support/spool.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "support/environment.h"
#include "support/printable.h"
#include "support/system_failure.h"
#include "support/temporary_file.h"

namespace support {

namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} * 1024;

[[noreturn]] void fail(const char* deed, int error) {
  throw system_failure(std::string(deed) + " a temporary file in " + printable(temporary_folder()), error);
}

}  // namespace

SpoolFile::Extent SpoolFile::append(std::string_view bytes) {
  if (!file_.is_open()) {
    OutputFile file = open_temporary_file();
    if (!file.is_open()) fail("make", file.error());
    file_ = Descriptor(file.release());
  }
  const Extent extent{end_, bytes.size()};
  write(bytes, end_);
  end_ += extent.length;
  used_ += extent.length;
  return extent;
}

void SpoolFile::write(std::string_view bytes, std::uint64_t offset) {
  while (!bytes.empty()) {
    const ssize_t written = ::pwrite(file_.number(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) fail("write", written < 0 ? errno : ENOSPC);
    bytes.remove_prefix(static_cast<std::size_t>(written));
    offset += static_cast<std::uint64_t>(written);
  }
}

void SpoolFile::copy(const Extent& extent, ByteSink& sink) const {
  std::string piece(kPieceBytes, '\0');
  std::uint64_t offset = extent.offset;
  const std::uint64_t end = extent.offset + extent.length;
  while (offset < end) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), end - offset));
    const ssize_t got = ::pread(file_.number(), piece.data(), wanted, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) fail("read", got < 0 ? errno : EIO);
    sink.write(std::string_view(piece).substr(0, static_cast<std::size_t>(got)));
    offset += static_cast<std::uint64_t>(got);
  }
}

void SpoolFile::release(const Extent& extent) noexcept {
  used_ -= extent.length;
  if (used_ == 0 && ::ftruncate(file_.number(), 0) == 0) {
    end_ = 0;
  } else {
    // Not every file system can: the space is then back when the file is.
    static_cast<void>(::fallocate(file_.number(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE,
                                  static_cast<off_t>(extent.offset), static_cast<off_t>(extent.length)));
  }
}

void Spool::move_on(std::string_view bytes) {
  if (behind_ != nullptr) {
    has_passed_ = true;
    behind_->write(bytes);
  } else {
    extents_.push_back(file_.append(bytes));
  }
}

void Spool::push_out() {
  if (memory_.empty()) return;
  move_on(memory_);
  std::string().swap(memory_);
}

void Spool::write(std::string_view bytes) {
  if (bytes.size() > kMemoryBytes - memory_.size()) push_out();
  if (bytes.size() > kMemoryBytes) {
    move_on(bytes);
  } else {
    memory_.append(bytes);
  }
}

void Spool::copy_to(ByteSink& sink) const {
  for (const SpoolFile::Extent& extent : extents_) file_.copy(extent, sink);
  if (!memory_.empty()) sink.write(memory_);
}

void Spool::clear() noexcept {
  for (const SpoolFile::Extent& extent : extents_) file_.release(extent);
  extents_.clear();
  memory_.clear();
}

}  // namespace support
