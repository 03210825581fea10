#include "inspect/solid/sound_block_copy.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "inspect/solid/checksum_trailer.h"
#include "inspect/solid/fast_inflate.h"
#include "inspect/solid/piece_reader.h"
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
};

bool SoundBlockCopy::run(std::uint64_t stored_length, std::uint64_t most) {
  for (std::uint64_t left = stored_length; left > 0;) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, kBufferSize));
    if (stream_.read(stored_.get(), count) != count) return false;
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

/// What the trailer says; no value when it is not there to be read. Moves the stream.
std::optional<ChecksumTrailer> saved_trailer(support::ByteSource& stream, std::uint64_t at, bool wide) {
  unsigned char bytes[kWideTrailerSize] = {};
  stream.set_position(at);
  const std::size_t size = wide ? kWideTrailerSize : kNarrowTrailerSize;
  if (stream.read(bytes, size) != size) return std::nullopt;
  return decode_checksum_trailer(bytes, wide);
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
  return most - std::min(most, file.inflated_bytes + 1);
}

/// May raise what reading raises.
std::optional<DeflatedResult> copy_at(InspectFile& file, const PartitionEntry& entry, const DataBlock& block,
                                      std::uint64_t start, FastInflate& inflate, TransmitFile* output) {
  std::optional<ChecksumTrailer> saved;
  if (!is_trailer_missing(file, entry, block)) {
    saved = saved_trailer(*file.stream, start + block.stored_length, block.wide);
    if (!saved) return std::nullopt;
  }
  file.stream->set_position(start);
  const std::uint64_t most = std::min(most_expanded(file), saved ? saved->expanded_size : UINT64_MAX);
  SoundBlockCopy copy(*file.stream, inflate, output);
  if (!copy.run(block.stored_length, most)) return std::nullopt;
  if (saved && !is_as_saved(copy.result(), *saved)) return std::nullopt;
  return copy.result();
}

/// With tracing each read is a line of its own, which is zlib's way. A length that the stream does not have
/// is nothing to begin with.
bool is_worthwhile(const InspectFile& file, std::uint64_t start, std::uint64_t stored_length) {
  return !file.options.trace && stored_length >= kLeastStored && start < file.bytes_there() &&
         stored_length <= file.bytes_there() - start && may_read_run(file, stored_length);
}

}  // namespace

std::optional<DeflatedResult> copy_sound_block(InspectFile& file, const PartitionEntry& entry,
                                               const DataBlock& block, TransmitFile* output) {
  const std::uint64_t start = file.stream->position();
  if (!is_worthwhile(file, start, block.stored_length)) return std::nullopt;
  const std::unique_ptr<FastInflate> inflate = FastInflate::create();
  if (inflate == nullptr) return std::nullopt;
  if (output != nullptr && !output->set_mark()) return std::nullopt;
  try {
    if (auto result = copy_at(file, entry, block, start, *inflate, output)) {
      file.checked_bytes += block.stored_length;
      file.inflated_bytes += result->produced;
      return result;
    }
  } catch (const support::ErrorEscape&) {  // NOLINT(bugprone-empty-catch): zlib's way meets it again, and
                                           // tells it.
  }
  file.stream->set_position(start);
  if (output != nullptr) output->return_to_mark();
  return std::nullopt;
}

}  // namespace inspect
