#include "cfi/lz4_decompress_stream.h"

#include <lz4.h>

#include <algorithm>
#include <cstring>

#include "cfi/cfi_error_codes.h"
#include "support/byte_order.h"

namespace VRX::System::CFI {

namespace {

constexpr std::size_t kInputSize = std::size_t{512} * 1024;
constexpr std::size_t kLengthSize = 4;

std::int32_t load_length(const std::byte* bytes) {
  unsigned char raw[kLengthSize];
  std::memcpy(raw, bytes, sizeof raw);
  return support::load_little<std::int32_t>(raw);
}

}  // namespace

struct LZ4DecompressStream::Decoder {
  LZ4_streamDecode_t state = {};
};

LZ4DecompressStream::LZ4DecompressStream(support::ByteSource& inner)
    : inner_(inner),
      decoder_(std::make_unique<Decoder>()),
      input_(std::make_unique_for_overwrite<std::byte[]>(kInputSize)),
      window_(std::make_unique_for_overwrite<std::byte[]>(kWindowSize)) {}

LZ4DecompressStream::~LZ4DecompressStream() = default;

LZ4DecompressStream::ReadResult LZ4DecompressStream::read(void* destination, std::int64_t count) {
  if (const int status = read_signature(); status != 0) return {0, status};
  ReadResult result;
  if (count < 1) return result;
  const auto wanted = static_cast<std::uint64_t>(count);
  result.bytes_read = deliver(static_cast<std::byte*>(destination), wanted);
  if (result.bytes_read < wanted) result.status = status_;
  return result;
}

LZ4DecompressStream::SeekResult LZ4DecompressStream::seek(std::int64_t offset, int origin) {
  if (const int status = read_signature(); status != 0) return {position_, status};
  if ((origin != kFromStart && origin != kFromCurrent) || offset < 0)
    return {position_, kUnsupportedOperation};
  const auto distance = static_cast<std::uint64_t>(offset);
  if (origin == kFromStart && distance < position_) return {position_, kUnsupportedOperation};
  const std::uint64_t left = origin == kFromStart ? distance - position_ : distance;
  if (deliver(nullptr, left) == left) return {position_, 0};
  return {position_, status_ != 0 ? status_ : int{kEndOfStream}};
}

/// Moves `count` bytes forward, copying them unless there is no destination; fewer when the frame ends.
std::size_t LZ4DecompressStream::deliver(std::byte* destination, std::uint64_t count) {
  std::uint64_t total = 0;
  while (true) {
    total += take_expanded(destination == nullptr ? nullptr : destination + total, count - total);
    if (total == count) break;
    // All but the last block that the caller has room for need no stop in a buffer of ours.
    const bool direct = destination != nullptr && count - total >= 2 * kBlockSize && can_leave_window();
    if (!direct) return_to_window();
    const std::int32_t expanded = expand_block(direct ? destination + total : next_place());
    if (expanded == 0) break;
    const auto size = static_cast<std::size_t>(expanded);
    if (direct) {
      outside_ = destination + total + size;
      outside_size_ += size;
      total += size;
      position_ += size;
    } else {
      window_end_ += size;
      neighbours_ += size;
      unread_ = size;
    }
  }
  return_to_window();
  return total;
}

/// Takes up to `count` bytes of what the last block in the window still holds.
std::size_t LZ4DecompressStream::take_expanded(std::byte* destination, std::uint64_t count) {
  const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(unread_, count));
  if (destination != nullptr && size > 0) {
    std::memcpy(destination, window_.get() + window_end_ - unread_, size);
  }
  unread_ -= size;
  position_ += size;
  return size;
}

/// Where the next block goes, with room for kBlockSize bytes.
std::byte* LZ4DecompressStream::next_place() {
  if (kWindowSize - window_end_ < kBlockSize) window_end_ = neighbours_ = 0;
  return window_.get() + window_end_;
}

/// The decoder keeps one place besides the one that it writes to: all that a block may refer to must be
/// there.
bool LZ4DecompressStream::can_leave_window() const {
  return outside_size_ > 0 || neighbours_ >= kHistorySize || neighbours_ == position_;
}

int LZ4DecompressStream::read_signature() {
  if (signature_read_) return signature_status_;
  signature_read_ = true;
  const std::byte* signature = take_inner(kSignature.size());
  if (signature == nullptr || std::memcmp(signature, kSignature.data(), kSignature.size()) != 0) {
    signature_status_ = kBadCompressedStream;
  }
  return signature_status_;
}

/// Expands the next block into `target`, which has room for kBlockSize bytes, and gives its length; 0, and
/// finished, when there is none.
std::int32_t LZ4DecompressStream::expand_block(std::byte* target) {
  if (finished_) return 0;
  const std::byte* prefix = take_inner(kLengthSize);
  if (prefix == nullptr) return finish(input_used_ == input_length_ ? 0 : int{kEndOfStream});
  const std::int32_t length = load_length(prefix);
  if (length < 1) return finish(kBadCompressedStream);
  if (length > kLongestBlock) return finish(kCompressedBlockTooLong);
  const std::byte* block = take_inner(static_cast<std::size_t>(length));
  if (block == nullptr) return finish(kEndOfStream);
  const int expanded =
      LZ4_decompress_safe_continue(&decoder_->state, reinterpret_cast<const char*>(block),
                                   reinterpret_cast<char*>(target), length, static_cast<int>(kBlockSize));
  bad_block_ = expanded < 0;
  if (expanded < 1) return finish(0);  // a block that expands to nothing ends the stream quietly
  return expanded;
}

/// What was expanded into the caller's memory must be at hand when the caller has taken it back.
void LZ4DecompressStream::return_to_window() {
  if (outside_size_ == 0) return;
  const std::size_t taken = std::min(outside_size_, kHistorySize);
  const std::size_t kept = std::min(neighbours_, kHistorySize - taken);
  std::memmove(window_.get(), window_.get() + window_end_ - kept, kept);
  std::memcpy(window_.get() + kept, outside_ - taken, taken);
  window_end_ = neighbours_ = kept + taken;
  outside_size_ = 0;
  LZ4_setStreamDecode(&decoder_->state, reinterpret_cast<const char*>(window_.get()),
                      static_cast<int>(window_end_));
}

/// The next `count` bytes of the inner stream, at most a block, in place; null when it has fewer left.
const std::byte* LZ4DecompressStream::take_inner(std::size_t count) {
  if (input_length_ - input_used_ < count) {
    return_to_window();  // reading may raise
    const std::size_t rest = input_length_ - input_used_;
    std::memmove(input_.get(), input_.get() + input_used_, rest);
    input_used_ = 0;
    input_length_ = rest + inner_.read(input_.get() + rest, kInputSize - rest);
    if (input_length_ < count) return nullptr;
  }
  const std::byte* taken = input_.get() + input_used_;
  input_used_ += count;
  return taken;
}

std::int32_t LZ4DecompressStream::finish(int status) {
  finished_ = true;
  status_ = status;
  return 0;
}

}  // namespace VRX::System::CFI
