#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "inspect/records/inspect_file.h"
#include "inspect/records/piece_reader.h"
#include "inspect/solid/inflate_stream.h"
#include "inspect/solid/transmit_file.h"

namespace inspect {

/// What copying a compressed block has shown.
struct DeflatedResult {
  std::uint64_t produced = 0;  ///< expanded bytes
  std::uint32_t plain_checksum = 1;
  std::uint32_t stored_checksum = 1;
  int error = 0;  ///< the first error of inflate
};

/// Expands one zlib stream of a partition into a file or nowhere. What can be seen of it is as if inflate
/// were fed 8192 bytes at a time and wrote into a buffer of 1024 bytes that an error throws away; the real
/// buffers are larger.
class DeflatedCopy {
 public:
  /// Raises inspect_error "failed to initialise decompressor".
  DeflatedCopy(InspectFile& file, TransmitFile* output);

  /// Copies the stored bytes at the stream's position and leaves the stream behind them. Raises inspect_error
  /// when the deflated data of the part expand to more than one stage of expansion can do.
  DeflatedResult run(std::uint64_t stored_length);

 private:
  int expand(std::span<const unsigned char> stored);
  int expand_last(std::span<const unsigned char> stored);
  int expand_into(std::size_t room);
  void charge();
  bool is_piece_lost() const;
  void write_pieces(std::uint64_t up_to);
  void write(std::uint64_t up_to);

  InspectFile& file_;
  TransmitFile* output_;
  InflateStream inflate_;
  std::unique_ptr<unsigned char[]> buffer_;
  std::uint64_t written_ = 0;      ///< expanded bytes that have left the buffer
  std::uint64_t input_start_ = 0;  ///< expanded bytes when inflate was last fed
};

}  // namespace inspect
