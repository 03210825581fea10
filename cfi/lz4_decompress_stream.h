#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "support/byte_source.h"

namespace VRX::System::CFI {

/// Expands an LZ4-framed stream, front to back. The frame, all integers little-endian:
///
///     0  4  signature: 'L' 'Z' '4' 0x01
///     4  4  compressed length N of block 1, 1 to 65809
///     8  N  LZ4 block, at most 65536 bytes expanded; may refer to the 65535 bytes before it
///     ...   further blocks, to the end of the inner stream
///
/// Each operation gives a status: 0, or the container's number for what is wrong. The bytes before a
/// failure are delivered; once the frame has failed or ended it stays so.
class LZ4DecompressStream {
 public:
  static constexpr std::array<unsigned char, 4> kSignature = {'L', 'Z', '4', 0x01};
  static constexpr std::size_t kBlockSize = 65536;
  static constexpr std::size_t kHistorySize = 65536;    ///< how far back a block may refer, 1 byte less
  static constexpr std::int32_t kLongestBlock = 65809;  ///< the compress bound of a full block

  enum Origin : int { kFromStart = 0, kFromCurrent = 1 };

  struct ReadResult {
    std::size_t bytes_read = 0;
    int status = 0;
  };
  struct SeekResult {
    std::uint64_t position = 0;
    int status = 0;
  };

  /// Reads `inner` from its current position; it must outlive this object and not be moved meanwhile.
  explicit LZ4DecompressStream(support::ByteSource& inner);
  ~LZ4DecompressStream();
  LZ4DecompressStream(const LZ4DecompressStream&) = delete;
  LZ4DecompressStream& operator=(const LZ4DecompressStream&) = delete;

  /// Reads `count` bytes; fewer with status 0 at the end of the frame. Status 1020029: bad signature or
  /// block length below 1; 1020204: block length above kLongestBlock; 1020023: cut in a length or a block.
  ReadResult read(void* destination, std::int64_t count);

  /// Moves forward only: a target behind the position, or an origin other than these two, is status 1021254.
  /// 1020023 when the frame ends before the target.
  SeekResult seek(std::int64_t offset, int origin);

  /// Bytes delivered so far.
  std::uint64_t position() const { return position_; }

  /// The frame has ended, with status 0, at a block that cannot be decoded.
  bool ended_at_bad_block() const { return bad_block_; }

 private:
  struct Decoder;

  // The decode buffers lie side by side, and a block stands right behind the one before as long as there is
  // room for a full one: so a short one does not part the next from its history. Beginning again in front
  // never overwrites history, as the room of two full blocks is taken then.
  static constexpr std::size_t kWindowSize = 2 * kHistorySize + kBlockSize;

  std::size_t deliver(std::byte* destination, std::uint64_t count);
  int read_signature();
  std::size_t take_expanded(std::byte* destination, std::uint64_t count);
  std::byte* next_place();
  bool can_leave_window() const;
  std::int32_t expand_block(std::byte* target);
  void return_to_window();
  const std::byte* take_inner(std::size_t count);
  std::int32_t finish(int status);

  support::ByteSource& inner_;
  std::unique_ptr<Decoder> decoder_;

  // What has been read ahead of the inner stream.
  std::unique_ptr<std::byte[]> input_;
  std::size_t input_used_ = 0;
  std::size_t input_length_ = 0;

  std::unique_ptr<std::byte[]> window_;
  std::size_t window_end_ = 0;    ///< behind the last block in the window
  std::size_t neighbours_ = 0;    ///< bytes of the blocks that stand right before there
  std::size_t unread_ = 0;        ///< bytes before there that have not been delivered
  std::byte* outside_ = nullptr;  ///< blocks that were expanded into the caller's memory meanwhile
  std::size_t outside_size_ = 0;

  std::uint64_t position_ = 0;
  bool signature_read_ = false;
  int signature_status_ = 0;
  bool finished_ = false;
  int status_ = 0;  ///< of the end, once finished
  bool bad_block_ = false;
};

}  // namespace VRX::System::CFI
