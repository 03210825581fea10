#include "inspect/solid/sound_block_copy.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "inspect/records/piece_reader.h"
#include "inspect/solid/checksum_trailer.h"
#include "inspect/solid/fast_inflate.h"
#include "support/error_escape.h"
#include "support/limits.h"

namespace inspect {

namespace {

/// Below it the library is hardly loaded before zlib has done it all.
constexpr std::uint64_t kLeastStored = std::uint64_t{16} * 1024;
constexpr std::size_t kBufferSize = std::size_t{256} * 1024;

class SoundBlockCopy {
 public:
  SoundBlockCopy(support::ByteSource& stream, FastInflate& inflate, TransmitFile* output)
      : stream_(stream),
        inflate_(inflate),
        output_(output),
        stored_(std::make_unique_for_overwrite<unsigned char[]>(kBufferSize)),
        expanded_(std::make_unique_for_overwrite<unsigned char[]>(kBufferSize)) {}

  /// False as soon as something is not sound. `most` bounds the expanded bytes.
  bool run(std::uint64_t stored_length, std::uint64_t most);

  const DeflatedResult& result() const { return result_; }
  bool came_short() const { return came_short_; }

 private:
  bool expand(std::uint64_t most);
  bool flush();

  support::ByteSource& stream_;
  FastInflate& inflate_;
  TransmitFile* output_;
  std::unique_ptr<unsigned char[]> stored_;
  std::unique_ptr<unsigned char[]> expanded_;
  std::size_t filled_ = 0;  ///< of expanded_
  FastInflate::State state_ = FastInflate::State::going_on;
  DeflatedResult result_;
  bool came_short_ = false;
};

bool SoundBlockCopy::run(std::uint64_t stored_length, std::uint64_t most) {
  for (std::uint64_t left = stored_length; left > 0;) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, kBufferSize));
    came_short_ = stream_.read(stored_.get(), count) != count;
    if (came_short_) return false;
    left -= count;
    const std::span<const unsigned char> bytes(stored_.get(), count);
    result_.stored_checksum = inflate_.fold(result_.stored_checksum, bytes);
    inflate_.set_input(bytes);
    if (!expand(most)) return false;
    if (state_ == FastInflate::State::ended && left > 0) return false;
  }
  result_.plain_checksum = inflate_.checksum();
  return state_ == FastInflate::State::ended && inflate_.input_empty() && flush();
}

/// All that the bytes at hand yield.
bool SoundBlockCopy::expand(std::uint64_t most) {
  for (;;) {
    const std::size_t before = filled_;
    state_ = inflate_.expand({expanded_.get() + filled_, kBufferSize - filled_}, filled_);
    result_.produced += filled_ - before;
    if (state_ == FastInflate::State::unsound || result_.produced > most) return false;
    if (state_ == FastInflate::State::ended) return true;
    if (filled_ < kBufferSize) return true;
    if (!flush()) return false;
  }
}

bool SoundBlockCopy::flush() {
  const std::size_t count = std::exchange(filled_, 0);
  return output_ == nullptr || output_->try_write(expanded_.get(), count);
}

bool is_as_saved(const DeflatedResult& found, const ChecksumTrailer& saved) {
  return found.produced == saved.expanded_size && found.plain_checksum == saved.plain_checksum &&
         found.stored_checksum == saved.stored_checksum;
}

/// What the data of the part may still expand to before zlib's way refuses them.
std::uint64_t most_expanded(const InspectFile& file) {
  const std::uint64_t whole = file.stored_bytes() + 1;
  const std::uint64_t most =
      whole > UINT64_MAX / limits::kDeflateRatio ? UINT64_MAX : whole * limits::kDeflateRatio;
  return most - std::min(most, file.budgets.inflated_bytes + 1);
}

/// One block at a place of the stream, tried.
class Attempt {
 public:
  Attempt(InspectFile& file, const DataBlock& block) : file_(file), block_(block) {}

  /// With tracing each read is a line of its own, which is zlib's way. A length that the stream does not have
  /// is nothing to begin with.
  bool is_worthwhile() const {
    return file_.reader.trace() == nullptr && block_.stored_length >= kLeastStored &&
           has(start_, block_.stored_length) && may_read_run(file_, block_.stored_length);
  }

  /// May raise what reading raises.
  SoundBlockResult run(const PartitionEntry& entry, FastInflate& inflate, TransmitFile* output);

  void go_back() { file_.stream->set_position(start_); }

 private:
  bool has(std::uint64_t at, std::uint64_t count) const {
    return at <= file_.bytes_there() && count <= file_.bytes_there() - at;
  }
  std::uint64_t trailer_start() const { return start_ + block_.stored_length; }
  std::size_t trailer_size() const { return block_.wide ? kWideTrailerSize : kNarrowTrailerSize; }

  InspectFile& file_;
  const DataBlock& block_;
  std::uint64_t start_ = file_.stream->position();
};

SoundBlockResult Attempt::run(const PartitionEntry& entry, FastInflate& inflate, TransmitFile* output) {
  std::optional<ChecksumTrailer> saved;
  if (!is_trailer_missing(file_, entry, block_)) {
    unsigned char bytes[kWideTrailerSize] = {};
    if (!has(trailer_start(), trailer_size())) return {};
    file_.stream->set_position(trailer_start());
    if (file_.stream->read(bytes, trailer_size()) != trailer_size()) return {.came_short = true};
    saved = decode_checksum_trailer(bytes, block_.wide);
    go_back();
  }
  SoundBlockCopy copy(*file_.stream, inflate, output);
  const std::uint64_t most = std::min(most_expanded(file_), saved ? saved->expanded_size : UINT64_MAX);
  if (!copy.run(block_.stored_length, most)) return {.came_short = copy.came_short()};
  if (saved && !is_as_saved(copy.result(), *saved)) return {};
  return {.copied = copy.result()};
}

}  // namespace

SoundBlockResult copy_sound_block(InspectFile& file, const PartitionEntry& entry, const DataBlock& block,
                                  TransmitFile* output) {
  Attempt attempt(file, block);
  if (!attempt.is_worthwhile()) return {};
  const std::unique_ptr<FastInflate> inflate = FastInflate::create();
  if (inflate == nullptr) return {};
  if (output != nullptr && !output->set_mark()) return {};
  SoundBlockResult result;
  try {
    result = attempt.run(entry, *inflate, output);
  } catch (
      const support::ErrorEscape&) {  // NOLINT(bugprone-empty-catch): zlib's way meets it again and tells it
  }
  if (result.copied) {
    file.budgets.checked_bytes += block.stored_length;
    file.budgets.inflated_bytes += result.copied->produced;
  } else {
    attempt.go_back();
    if (output != nullptr) output->return_to_mark();
  }
  return result;
}

}  // namespace inspect
