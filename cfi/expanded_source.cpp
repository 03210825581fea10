#include "cfi/expanded_source.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstring>
#include <limits>
#include <utility>

#include "cfi/cfi_error_codes.h"
#include "cfi/file_channel.h"
#include "support/byte_copy.h"
#include "support/environment.h"
#include "support/limits.h"
#include "support/output_file.h"
#include "support/printable.h"
#include "support/temporary_file.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

constexpr std::size_t kPieceSize = 8 * LZ4DecompressStream::kBlockSize;

support::ErrorEscape frame_failure(const std::string& name, int status) {
  return {"cfi", status,
          support::format_text("compressed stream %s ends with status %d: %s",
                               support::printable(name).c_str(), status, error_text(status).c_str())};
}

/// The bytes that a frame of `stored` bytes may expand to.
std::uint64_t expansion_budget(std::uint64_t stored) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max() / limits::kExpansionRatio;
  return std::max(limits::kExpansionFloor, limits::kExpansionRatio * std::min(stored, kMost));
}

support::ErrorEscape budget_failure(const std::string& name, std::uint64_t budget) {
  return {"cfi", kBadCompressedStream,
          support::format_text("compressed stream %s expands to more than %" PRIu64
                               " bytes, far more than is stored",
                               support::printable(name).c_str(), budget)};
}

support::ErrorEscape temporary_file_failure(int error) {
  return {
      "cfi", kSystemCallFailed,
      support::format_text("could not write a temporary file in %s: %s",
                           support::printable(support::temporary_folder()).c_str(), std::strerror(error))};
}

/// Hands over what the frame holds, a piece more than the budget at most; tells why it does not end soundly.
template <typename Take>
std::optional<support::ErrorEscape> expand_all(LZ4DecompressStream& decoder, std::uint64_t budget,
                                               const std::string& name, Take take) {
  int status = 0;
  const auto read = [&](void* piece, std::size_t count) -> std::size_t {
    if (decoder.position() > budget) return 0;
    const auto result = decoder.read(piece, static_cast<std::int64_t>(count));
    status = result.status;
    return result.bytes_read;
  };
  support::copy_bytes(read, take, kPieceSize);
  if (decoder.position() > budget) return budget_failure(name, budget);
  if (status != 0) return frame_failure(name, status);
  return std::nullopt;
}

class TemporaryFileSource final : public support::ByteSource {
 public:
  explicit TemporaryFileSource(support::OutputFile&& file)
      : channel_(file.release(), "temporary file"), source_(channel_, 0, channel_.size()) {}

  std::size_t read(void* destination, std::size_t count) override { return source_.read(destination, count); }
  std::uint64_t position() const override { return source_.position(); }
  void set_position(std::uint64_t position) override { source_.set_position(position); }
  std::uint64_t size() const override { return source_.size(); }

 private:
  FileChannel channel_;
  ChannelSource source_;
};

}  // namespace

ExpandedSource::ExpandedSource(support::ByteSource& inner, std::string name)
    : inner_(inner), name_(std::move(name)) {}

ExpandedSource::ExpandedSource(std::unique_ptr<support::ByteSource> inner, std::string name)
    : owned_(std::move(inner)), inner_(*owned_), name_(std::move(name)) {}

std::size_t ExpandedSource::read(void* destination, std::size_t count) {
  if (!reach_position()) return 0;
  const std::uint64_t left = budget() - position_;
  // With nothing left, one byte more is too many.
  const std::uint64_t asked = std::min<std::uint64_t>(count, std::max<std::uint64_t>(left, 1));
  const auto [bytes_read, status] = decoder_->read(destination, static_cast<std::int64_t>(asked));
  if (bytes_read == 0 && status != 0) throw frame_failure(name_, status);
  if (bytes_read > left) throw budget_failure(name_, budget());
  position_ += bytes_read;
  return bytes_read;
}

/// Brings the decoder to the position; false when the frame ends before it.
bool ExpandedSource::reach_position() {
  if (!decoder_ || decoder_->position() > position_) {
    inner_.set_position(0);
    decoder_.emplace(inner_);
  }
  if (decoder_->position() == position_) return true;
  const std::uint64_t target = std::min(position_, budget() + 1);
  if (decoder_->position() < target) {
    decoder_->seek(static_cast<std::int64_t>(target - decoder_->position()),
                   LZ4DecompressStream::kFromCurrent);
  }
  if (decoder_->position() > budget()) throw budget_failure(name_, budget());
  if (decoder_->position() == position_) return true;
  std::byte next;
  if (const int end = decoder_->read(&next, 1).status; end != 0) throw frame_failure(name_, end);
  return false;
}

std::uint64_t ExpandedSource::budget() const { return expansion_budget(inner_.size()); }

std::uint64_t ExpandedSource::size() const {
  if (size_) return *size_;
  const std::uint64_t inner_position = inner_.position();
  inner_.set_position(0);
  LZ4DecompressStream decoder(inner_);
  const auto failure = expand_all(decoder, budget(), name_, [](std::span<const std::byte>) {});
  inner_.set_position(inner_position);
  if (failure) throw *failure;
  size_ = decoder.position();
  ends_at_bad_block_ = decoder.ended_at_bad_block();
  return *size_;
}

bool ExpandedSource::ends_at_bad_block() const {
  static_cast<void>(size());
  return ends_at_bad_block_;
}

bool is_lz4_framed(support::ByteSource& source) {
  std::array<unsigned char, LZ4DecompressStream::kSignature.size()> first = {};
  source.set_position(0);
  const std::size_t got = source.read(first.data(), first.size());
  source.set_position(0);
  return got == first.size() && first == LZ4DecompressStream::kSignature;
}

std::unique_ptr<support::ByteSource> expand_when_framed(std::unique_ptr<support::ByteSource> source,
                                                        std::string name) {
  if (!is_lz4_framed(*source)) return source;
  return std::make_unique<ExpandedSource>(std::move(source), std::move(name));
}

ExpandedFile expand_to_temporary_file(support::ByteSource& framed, const std::string& name,
                                      std::uint64_t file_length) {
  const std::uint64_t budget = expansion_budget(std::min(framed.size(), file_length));
  framed.set_position(0);
  LZ4DecompressStream decoder(framed);
  support::OutputFile file = support::open_temporary_file();
  if (!file.is_open()) throw temporary_file_failure(file.error());
  ExpandedFile expanded;
  const auto failure = expand_all(decoder, budget, name, [&](std::span<const std::byte> bytes) {
    if (!file.write(bytes.data(), bytes.size())) throw temporary_file_failure(file.error());
  });
  expanded.source = std::make_unique<TemporaryFileSource>(std::move(file));
  if (failure) expanded.failure.emplace(*failure);
  return expanded;
}

}  // namespace VRX::System::CFI
