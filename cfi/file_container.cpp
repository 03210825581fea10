#include "cfi/file_container.h"

#include <xxhash.h>

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <new>
#include <string>

#include "cfi/cfi_error_codes.h"
#include "cfi/diagnostics_channels.h"
#include "support/printable.h"

namespace VRX::System::CFI {

namespace {

// Most header indexes fit the first window; an index that does not is long, and gets a large one.
constexpr std::size_t kFirstWindowSize = std::size_t{8} * 1024;
constexpr std::size_t kWindowSize = 2 * FileChannel::kWindowSize;

}  // namespace

FileContainer::FileContainer(FileChannel& channel, std::uint64_t offset)
    : channel_(channel), window_offset_(offset), shows_reads_(structured_storage_io_channel().enabled()) {}

FileContainer::~FileContainer() = default;

void FileContainer::FreeDigest::operator()(XXH32_state_s* state) const { XXH32_freeState(state); }

std::uint64_t FileContainer::bytes_left() const {
  return channel_.size() > position() ? channel_.size() - position() : 0;
}

void FileContainer::slide(std::size_t wanted) {
  if (wanted > bytes_left()) raise_end();
  digest_read_bytes();
  const std::size_t kept = end_ - next_;
  const std::size_t capacity = static_cast<std::size_t>(
      std::min<std::uint64_t>(window_ ? kWindowSize : kFirstWindowSize, bytes_left()));
  if (capacity > capacity_) {
    auto larger = std::make_unique_for_overwrite<unsigned char[]>(capacity);
    if (kept > 0) std::memcpy(larger.get(), window_.get() + next_, kept);
    window_ = std::move(larger);
    capacity_ = capacity;
  } else if (kept > 0) {
    std::memmove(window_.get(), window_.get() + next_, kept);
  }
  window_offset_ += next_;
  next_ = 0;
  digested_ = 0;
  end_ = kept + channel_.read_at(window_offset_ + kept, window_.get() + kept, capacity_ - kept);
  if (end_ < wanted) raise_end();
}

void FileContainer::raise_end() { throw make_error(kEndOfStream); }

void FileContainer::copy_across_windows(void* destination, std::size_t count) {
  if (count > bytes_left()) raise_end();
  auto* next = static_cast<unsigned char*>(destination);
  while (count > 0) {
    if (next_ == end_) slide(1);
    const std::size_t piece = std::min(count, end_ - next_);
    std::memcpy(next, window_.get() + next_, piece);
    next_ += piece;
    next += piece;
    count -= piece;
  }
}

// The text is read apart from the window, which only moves forward.
void FileContainer::show_text(std::size_t count, const char* label) {
  require(count);
  std::string text(count, '\0');
  text.resize(channel_.read_at(position(), text.data(), count));
  structured_storage_io_channel().print("%s: \"%s\" at offset %" PRIu64 "\n", label,
                                        support::printable(text).c_str(), position());
}

void FileContainer::read_bytes(void* destination, std::size_t count, const char* label) {
  if (shows_reads_) {
    structured_storage_io_channel().print("%s: %zu bytes at offset %" PRIu64 "\n", label, count, position());
  }
  if (count > 0) copy(destination, count);
}

void FileContainer::show_integer(const char* label, std::int64_t value) const {
  structured_storage_io_channel().print("%s: %" PRId64 " at offset %" PRIu64 "\n", label, value, position());
}

void FileContainer::start_digest() {
  digest_.reset(XXH32_createState());
  if (!digest_) throw std::bad_alloc();
  XXH32_reset(digest_.get(), 0);
  digested_ = next_;
}

void FileContainer::digest_read_bytes() {
  if (digest_ && next_ > digested_) XXH32_update(digest_.get(), window_.get() + digested_, next_ - digested_);
  digested_ = next_;
}

std::uint32_t FileContainer::digest() {
  digest_read_bytes();
  return XXH32_digest(digest_.get());
}

}  // namespace VRX::System::CFI
