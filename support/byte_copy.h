#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "support/byte_source.h"

namespace support {

inline constexpr std::size_t kCopyPieceBytes = std::size_t{256} * 1024;

/// Hands what `read(void*, std::size_t)` yields to `take(std::span<const std::byte>)`, piece by piece, up to
/// and with the first read that yields fewer bytes than asked for: the end of the source. Returns the count
/// of all bytes.
template <typename Read, typename Take>
std::uint64_t copy_bytes(Read read, Take take, std::size_t piece_bytes = kCopyPieceBytes) {
  const auto piece = std::make_unique_for_overwrite<std::byte[]>(piece_bytes);
  std::uint64_t copied = 0;
  std::size_t got = 0;
  do {
    got = read(piece.get(), piece_bytes);
    take(std::span<const std::byte>(piece.get(), got));
    copied += got;
  } while (got == piece_bytes);
  return copied;
}

/// The same of a source, from its position on.
template <typename Take>
std::uint64_t copy_source(ByteSource& source, Take take, std::size_t piece_bytes = kCopyPieceBytes) {
  return copy_bytes([&](void* piece, std::size_t count) { return source.read(piece, count); }, take,
                    piece_bytes);
}

/// The same of its next `length` bytes; fewer when it ends before.
template <typename Take>
std::uint64_t copy_section(ByteSource& source, std::uint64_t length, Take take,
                           std::size_t piece_bytes = kCopyPieceBytes) {
  std::uint64_t left = length;
  const auto read = [&](void* piece, std::size_t count) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count, left));
    left -= wanted;
    return wanted == 0 ? 0 : source.read(piece, wanted);
  };
  return copy_bytes(read, take, static_cast<std::size_t>(std::clamp<std::uint64_t>(length, 1, piece_bytes)));
}

}  // namespace support
