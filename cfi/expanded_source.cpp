#include "cfi/expanded_source.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include "cfi/cfi_error_codes.h"
#include "cfi/file_channel.h"
#include "cfi/temporary_file.h"
#include "support/byte_copy.h"
#include "support/environment.h"
#include "support/output_file.h"
#include "support/printable.h"
#include "support/text_format.h"

namespace VRX::System::CFI {

namespace {

constexpr std::size_t kPieceSize = 8 * LZ4DecompressStream::kBlockSize;

support::ErrorEscape frame_failure(const std::string& name, int status) {
  return {"cfi", status,
          support::format_text("compressed stream %s ends with status %d: %s",
                               support::printable(name).c_str(), status, error_text(status).c_str())};
}

support::ErrorEscape temporary_file_failure() {
  const int error = errno;
  return {
      "cfi", kSystemCallFailed,
      support::format_text("could not write a temporary file in %s: %s",
                           support::printable(support::temporary_folder()).c_str(), std::strerror(error))};
}

/// Hands over all that the frame holds; gives the status with which it ends.
template <typename Take>
int expand_all(LZ4DecompressStream& decoder, Take take) {
  int status = 0;
  const auto read = [&](void* piece, std::size_t count) {
    const auto result = decoder.read(piece, static_cast<std::int64_t>(count));
    status = result.status;
    return result.bytes_read;
  };
  support::copy_bytes(read, take, kPieceSize);
  return status;
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
  const auto [bytes_read, status] = decoder_->read(destination, static_cast<std::int64_t>(count));
  if (bytes_read == 0 && status != 0) throw frame_failure(name_, status);
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
  constexpr std::uint64_t kFarthest = std::numeric_limits<std::int64_t>::max();
  const std::uint64_t distance = std::min(position_ - decoder_->position(), kFarthest);
  decoder_->seek(static_cast<std::int64_t>(distance), LZ4DecompressStream::kFromCurrent);
  if (decoder_->position() == position_) return true;
  std::byte next;
  if (const int end = decoder_->read(&next, 1).status; end != 0) throw frame_failure(name_, end);
  return false;
}

std::uint64_t ExpandedSource::size() const {
  if (size_) return *size_;
  const std::uint64_t inner_position = inner_.position();
  inner_.set_position(0);
  LZ4DecompressStream decoder(inner_);
  const int status = expand_all(decoder, [](std::span<const std::byte>) {});
  inner_.set_position(inner_position);
  if (status != 0) throw frame_failure(name_, status);
  size_ = decoder.position();
  return *size_;
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

ExpandedFile expand_to_temporary_file(support::ByteSource& framed, const std::string& name) {
  framed.set_position(0);
  LZ4DecompressStream decoder(framed);
  support::OutputFile file(open_temporary_file());
  if (!file.is_open()) throw temporary_file_failure();
  const int status = expand_all(decoder, [&](std::span<const std::byte> bytes) {
    if (!file.write(bytes.data(), bytes.size())) throw temporary_file_failure();
  });
  ExpandedFile expanded;
  expanded.source = std::make_unique<TemporaryFileSource>(std::move(file));
  if (status != 0) expanded.failure.emplace(frame_failure(name, status));
  return expanded;
}

}  // namespace VRX::System::CFI
