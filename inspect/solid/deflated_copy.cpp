#include "inspect/solid/deflated_copy.h"

#include <algorithm>
#include <cstring>

#include "inspect/records/inspect_errors.h"
#include "support/limits.h"

namespace inspect {

namespace {

constexpr std::size_t kInputPiece = piece_size(RunKind::deflated);
constexpr std::size_t kOutputPiece = 1024;
constexpr std::size_t kOutputBuffer = std::size_t{256} * kOutputPiece;

}  // namespace

DeflatedCopy::DeflatedCopy(InspectFile& file, TransmitFile* output)
    : file_(file), output_(output), buffer_(std::make_unique_for_overwrite<unsigned char[]>(kOutputBuffer)) {
  if (!inflate_.started())
    inspect_error(file_.reader, Rule::solid_decompressor, "failed to initialise decompressor");
}

DeflatedResult DeflatedCopy::run(std::uint64_t stored_length) {
  DeflatedResult result;
  PieceReader pieces(file_, RunKind::deflated, stored_length);
  int state = Z_OK;
  while (state == Z_OK && pieces.remaining() > 0) {
    // The read may end in an escape; what is whole by then has been written.
    write_pieces(inflate_.produced());
    std::span<const unsigned char> bulk = pieces.next();
    result.stored_checksum = fold_adler32(result.stored_checksum, bulk);
    while (state == Z_OK && !bulk.empty()) {
      const auto stored = bulk.first(std::min(bulk.size(), kInputPiece));
      bulk = bulk.subspan(stored.size());
      state = bulk.empty() && pieces.remaining() == 0 ? expand_last(stored) : expand(stored);
      charge();
    }
  }
  result.error = state == Z_STREAM_END ? Z_OK : state;
  result.produced = inflate_.produced();
  result.plain_checksum = inflate_.checksum();
  if (result.error == Z_OK) {
    write(inflate_.produced());
  } else {
    write_pieces(inflate_.produced() - (is_piece_lost() ? kOutputPiece : 0));
  }
  result.stored_checksum = fold_rest(pieces, result.stored_checksum);
  return result;
}

int DeflatedCopy::expand(std::span<const unsigned char> stored) {
  input_start_ = inflate_.produced();
  inflate_.set_input(stored);
  for (;;) {
    if (inflate_.produced() - written_ == kOutputBuffer) write(inflate_.produced());
    const int state = expand_into(kOutputBuffer - static_cast<std::size_t>(inflate_.produced() - written_));
    // Asked for what may be pending behind a full buffer, and nothing was.
    if (state == Z_BUF_ERROR) return Z_OK;
    if (state != Z_OK) return state;
    if (inflate_.input_empty() && inflate_.produced() - written_ < kOutputBuffer) return Z_OK;
  }
}

/// With the last stored bytes the pieces matter one by one: a cut stream ends with the piece that is full
/// when its bytes are used up, whatever inflate still holds back. With room left in the piece, inflate is
/// asked once more, in vain.
int DeflatedCopy::expand_last(std::span<const unsigned char> stored) {
  input_start_ = inflate_.produced();
  inflate_.set_input(stored);
  for (;;) {
    if (inflate_.produced() - written_ == kOutputBuffer) write(inflate_.produced());
    const auto room = static_cast<std::size_t>(kOutputPiece - inflate_.produced() % kOutputPiece);
    const std::uint64_t full = inflate_.produced() + room;
    const int state = expand_into(room);
    if (state != Z_OK) return state;
    if (inflate_.produced() < full) return Z_BUF_ERROR;
    if (inflate_.input_empty()) return Z_OK;
  }
}

void DeflatedCopy::charge() {
  file_.budgets.inflated_bytes += inflate_.produced() - input_start_;
  const std::uint64_t length = file_.stored_bytes();
  if (file_.budgets.inflated_bytes / limits::kDeflateRatio > length) {
    inspect_error(file_.reader, Rule::solid_inflate,
                  "Brepsolid data expand to more than %d times the size of the file",
                  static_cast<int>(limits::kDeflateRatio));
  }
}

int DeflatedCopy::expand_into(std::size_t room) {
  return inflate_.expand({buffer_.get() + (inflate_.produced() - written_), room});
}

/// A fault right behind a full piece is met by the very call of inflate that fills the piece, unless that
/// call used up its input first; the piece is lost with it.
bool DeflatedCopy::is_piece_lost() const {
  return inflate_.produced() % kOutputPiece == 0 && inflate_.produced() > input_start_ &&
         !inflate_.lacks_history();
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
