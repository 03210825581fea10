#include "inspect/solid/inflate_stream.h"

#include <new>
#include <string_view>

namespace inspect {

namespace {

constexpr std::size_t kBlocks = 2;  ///< the state and its window

}  // namespace

InflateStream::InflateStream() {
  stream_.zalloc = allocate;
  stream_.zfree = release;
  stream_.opaque = this;
  blocks_.reserve(kBlocks);
  started_ = inflateInit(&stream_) == Z_OK;
}

voidpf InflateStream::allocate(voidpf self, uInt count, uInt size) {
  auto& blocks = static_cast<InflateStream*>(self)->blocks_;
  blocks.emplace_back(new (std::nothrow) std::byte[std::size_t{count} * size]);
  return blocks.back().get();
}

/// Everything goes with the object.
void InflateStream::release(voidpf /*self*/, voidpf /*block*/) {}

void InflateStream::set_input(std::span<const unsigned char> input) {
  // The decompressor takes a pointer to mutable bytes but never writes through it.
  stream_.next_in = const_cast<unsigned char*>(input.data());
  stream_.avail_in = static_cast<uInt>(input.size());
}

int InflateStream::expand(std::span<unsigned char> room) {
  stream_.next_out = room.data();
  stream_.avail_out = static_cast<uInt>(room.size());
  const int result = inflate(&stream_, Z_NO_FLUSH);
  if (result == Z_MEM_ERROR) throw std::bad_alloc();
  produced_ += room.size() - stream_.avail_out;
  return result;
}

bool InflateStream::lacks_history() const {
  return stream_.msg != nullptr && std::string_view(stream_.msg) == "invalid distance too far back";
}

std::uint32_t InflateStream::checksum() const {
  // Before the first byte the field may hold a dictionary's identifier.
  return produced_ == 0 ? static_cast<std::uint32_t>(adler32(0, nullptr, 0))
                        : static_cast<std::uint32_t>(stream_.adler);
}

}  // namespace inspect
