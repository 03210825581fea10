#include "cfi/file_channel.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "cfi/cfi_error_codes.h"

namespace VRX::System::CFI {

FileChannel::FileChannel(std::string name) : FileChannel(std::move(name), O_RDONLY) {}

FileChannel::FileChannel(std::string name, int open_flags) : name_(std::move(name)) {
  // O_NONBLOCK: a pipe without a writer must not hold up the run.
  descriptor_ = ::open(name_.c_str(), open_flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor_ < 0) throw system_call_failed(errno);
  struct stat found = {};
  const bool known = ::fstat(descriptor_, &found) == 0;
  if (!known || !S_ISREG(found.st_mode)) {
    const int error = known ? EISDIR : errno;
    ::close(descriptor_);
    if (known && !S_ISDIR(found.st_mode)) throw make_error(kNotAStorageFile, name_);
    throw system_call_failed(error);
  }
  size_ = static_cast<std::uint64_t>(found.st_size);
  identity_ = {found.st_dev, found.st_ino};
  modified_ = found.st_mtime;
}

FileChannel::FileChannel(int descriptor, std::string name) : name_(std::move(name)), descriptor_(descriptor) {
  struct stat found = {};
  if (::fstat(descriptor_, &found) != 0) {
    const int error = errno;
    ::close(descriptor_);
    throw system_call_failed(error);
  }
  size_ = static_cast<std::uint64_t>(found.st_size);
  identity_ = {found.st_dev, found.st_ino};
  modified_ = found.st_mtime;
}

FileChannel::~FileChannel() { ::close(descriptor_); }

std::size_t FileChannel::read_direct(std::uint64_t offset, void* destination, std::size_t count) {
  auto* next = static_cast<std::byte*>(destination);
  std::size_t total = 0;
  while (total < count) {
    const ssize_t got = ::pread(descriptor_, next + total, count - total, static_cast<off_t>(offset + total));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw system_call_failed(errno);
    if (got == 0) break;
    total += static_cast<std::size_t>(got);
  }
  if (offset + total < std::min(offset + count, size_)) has_shrunk_ = true;
  return total;
}

FileChannel::Window* FileChannel::window_with(std::uint64_t offset) {
  for (Window& window : windows_) {
    if (offset >= window.offset && offset - window.offset < window.length) {
      window.last_use = ++use_count_;
      return &window;
    }
  }
  return nullptr;
}

FileChannel::Window& FileChannel::fill_oldest_window(std::uint64_t offset) {
  Window& window = *std::ranges::min_element(windows_, {}, &Window::last_use);
  const auto capacity = static_cast<std::size_t>(std::min<std::uint64_t>(kWindowSize, size_));
  // A window on loan is left to its borrower.
  if (window.bytes.use_count() != 1) window.bytes = std::make_shared_for_overwrite<std::byte[]>(capacity);
  window.length = 0;
  window.offset = offset;
  // No further than the end, or a second look would only hear that there is no more.
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(capacity, size_ - offset));
  window.length = read_direct(offset, window.bytes.get(), count);
  window.last_use = ++use_count_;
  return window;
}

std::size_t FileChannel::read_at(std::uint64_t offset, void* destination, std::size_t count) {
  if (offset >= size_) return 0;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - offset));
  auto* next = static_cast<std::byte*>(destination);
  std::size_t total = 0;
  while (total < count) {
    const std::uint64_t at = offset + total;
    Window* window = window_with(at);
    if (window == nullptr && count - total >= kWindowSize) {
      return total + read_direct(at, next + total, count - total);
    }
    if (window == nullptr) window = &fill_oldest_window(at);
    if (window->length == 0) break;
    const auto skipped = static_cast<std::size_t>(at - window->offset);
    const std::size_t piece = std::min(count - total, window->length - skipped);
    std::memcpy(next + total, window->bytes.get() + skipped, piece);
    total += piece;
  }
  return total;
}

std::size_t FileChannel::read_apart_at(std::uint64_t offset, void* destination, std::size_t count) {
  const bool one_window_does = size_ <= kWindowSize;
  if (one_window_does || window_with(offset) != nullptr) return read_at(offset, destination, count);
  if (offset >= size_) return 0;
  return read_direct(offset, destination,
                     static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - offset)));
}

std::size_t FileChannel::write_at(std::uint64_t, const void*, std::size_t) {
  throw make_error(kUnsupportedOperation, "writing to a file that is open for reading");
}

void FileChannel::set_size(std::uint64_t) {
  throw make_error(kUnsupportedOperation, "writing to a file that is open for reading");
}

void FileChannel::forget_windows(std::uint64_t end) {
  for (Window& window : windows_) window = {};  // they were made for the old length
  size_ = std::max(size_, end);
}

void FileChannel::note_size(std::uint64_t size) {
  for (Window& window : windows_) window = {};
  size_ = size;
}

FileChannel::Loan FileChannel::lend(std::uint64_t offset) {
  if (offset >= size_) return {};
  Window* window = window_with(offset);
  if (window == nullptr) window = &fill_oldest_window(offset);
  const auto skipped = static_cast<std::size_t>(offset - window->offset);
  return {window->bytes, std::span(window->bytes.get(), window->length).subspan(skipped)};
}

void ChannelSource::give_back() {
  ready_end_position_ = position();
  loan_ = {};
  ready_ = ready_end_ = nullptr;
}

/// True when bytes lie ready at the position afterwards.
bool ChannelSource::borrow() {
  give_back();
  const std::uint64_t position = ready_end_position_;
  if (position >= size_) return false;
  loan_ = channel_.lend(offset_ + position);
  const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(loan_.bytes.size(), size_ - position));
  loan_.bytes = loan_.bytes.first(length);
  ready_ = loan_.bytes.data();
  ready_end_ = ready_ + length;
  ready_end_position_ = position + length;
  return length > 0;
}

void ChannelSource::set_position(std::uint64_t position) {
  const std::uint64_t first = ready_end_position_ - loan_.bytes.size();
  if (position >= first && position < ready_end_position_) {
    ready_ = ready_end_ - (ready_end_position_ - position);
    return;
  }
  give_back();
  ready_end_position_ = position;
}

std::size_t ChannelSource::read(void* destination, std::size_t count) {
  auto* next = static_cast<std::byte*>(destination);
  std::size_t total = std::min(count, static_cast<std::size_t>(ready_end_ - ready_));
  if (total > 0) std::memcpy(next, ready_, total);
  ready_ += total;
  while (total < count) {
    const std::uint64_t at = position();
    const std::uint64_t left = size_ - std::min(at, size_);
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count - total, left));
    if (wanted >= FileChannel::kWindowSize) {
      give_back();
      const std::size_t got = channel_.read_at(offset_ + at, next + total, wanted);
      ready_end_position_ += got;
      return total + got;
    }
    if (wanted == 0 || !borrow()) break;
    const std::size_t piece = std::min(wanted, loan_.bytes.size());
    std::memcpy(next + total, ready_, piece);
    ready_ += piece;
    total += piece;
  }
  return total;
}

}  // namespace VRX::System::CFI
