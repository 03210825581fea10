#include "inspect/solid/deflated_copy.h"

#include <cstring>

#include "inspect/records/inspect_errors.h"

namespace inspect {

namespace {

constexpr std::size_t kOutputPiece = 1024;
constexpr std::size_t kOutputBuffer = std::size_t{256} * kOutputPiece;

std::uint32_t fold(std::uint32_t checksum, std::span<const unsigned char> bytes) {
  return static_cast<std::uint32_t>(adler32(checksum, bytes.data(), static_cast<uInt>(bytes.size())));
}

}  // namespace

std::uint32_t fold_rest(PieceReader& pieces, std::uint32_t checksum) {
  while (pieces.remaining() > 0) checksum = fold(checksum, pieces.next());
  return checksum;
}

DeflatedCopy::DeflatedCopy(InspectFile& file, TransmitFile* output)
    : file_(file), output_(output), buffer_(std::make_unique_for_overwrite<unsigned char[]>(kOutputBuffer)) {
  if (!inflate_.started()) inspect_error(file_, "failed to initialise decompressor");
}

DeflatedResult DeflatedCopy::run(std::uint64_t stored_length) {
  DeflatedResult result;
  PieceReader pieces(file_, RunKind::deflated, stored_length);
  int state = Z_OK;
  while (state == Z_OK && pieces.remaining() > 0) {
    // The read may end in an escape; what is whole by then has been written.
    write_pieces(inflate_.produced());
    const std::span<const unsigned char> bulk = pieces.next();
    result.stored_checksum = fold(result.stored_checksum, bulk);
    state = expand(bulk, pieces.remaining() == 0);
  }
  // A stream that is not over when the stored bytes are: with room left, inflate is asked once more, in vain.
  if (state == Z_OK && stored_length > 0 && !piece_just_filled()) state = Z_BUF_ERROR;
  result.error = state == Z_STREAM_END ? Z_OK : state;
  result.produced = inflate_.produced();
  result.plain_checksum = inflate_.checksum();
  if (result.error == Z_OK) {
    write(inflate_.produced());
  } else {
    write_pieces(inflate_.produced() - (piece_just_filled() ? kOutputPiece : 0));
  }
  result.stored_checksum = fold_rest(pieces, result.stored_checksum);
  return result;
}

int DeflatedCopy::expand(std::span<const unsigned char> stored, bool last) {
  read_start_ = inflate_.produced();
  inflate_.set_input(stored);
  for (;;) {
    if (inflate_.produced() - written_ == kOutputBuffer) write(inflate_.produced());
    const std::uint64_t before = inflate_.produced();
    const auto used = static_cast<std::size_t>(before - written_);
    // With the last stored bytes the pieces matter one by one: a cut stream ends with the piece that is full
    // when its bytes are used up, whatever inflate still holds back.
    const std::size_t room = last ? kOutputPiece - before % kOutputPiece : kOutputBuffer - used;
    const int state = inflate_.expand({buffer_.get() + used, room});
    fault_after_piece_ = state < 0 && inflate_.produced() == before;
    // Asked for what may be pending behind a full buffer, and nothing was.
    if (state == Z_BUF_ERROR) return Z_OK;
    if (state != Z_OK) return state;
    if (last && inflate_.input_empty() && inflate_.produced() - before == room) return Z_OK;
    if (inflate_.input_empty() && inflate_.produced() - written_ < kOutputBuffer) return Z_OK;
  }
}

/// With a buffer of one output piece, inflate meets a fault in the very call that fills the piece, unless new
/// input must be read in between, and the piece is lost with it.
bool DeflatedCopy::piece_just_filled() const {
  return inflate_.produced() % kOutputPiece == 0 && inflate_.produced() > read_start_ && !fault_after_piece_;
}

void DeflatedCopy::write_pieces(std::uint64_t up_to) { write(up_to / kOutputPiece * kOutputPiece); }

void DeflatedCopy::write(std::uint64_t up_to) {
  if (up_to <= written_) return;
  const auto count = static_cast<std::size_t>(up_to - written_);
  const auto kept = static_cast<std::size_t>(inflate_.produced() - up_to);
  if (output_ != nullptr) output_->write(buffer_.get(), count);
  std::memmove(buffer_.get(), buffer_.get() + count, kept);
  written_ = up_to;
}

}  // namespace inspect
