#include <unistd.h>

#include <cerrno>
#include <memory>

#include "cfi/cfi_error_codes.h"
#include "cfi/flat/cfi_calls.h"
#include "cfi/flat/cfi_storage.h"
#include "cfi/temporary_file.h"
#include "support/output_file.h"

using namespace VRX::System::CFI;

namespace {

constexpr std::size_t kCopyPiece = std::size_t{256} * 1024;

support::ErrorEscape flush_failure(int channel) {
  return {"cfi", kSystemCallFailed, support::format_text("Could not flush channel %d", channel)};
}

// The bytes of the channel become those of the container.
void take_back(int channel, Container& container) {
  const auto piece = std::make_unique_for_overwrite<char[]>(kCopyPiece);
  container.set_position(0);
  for (off_t offset = 0;;) {
    const ssize_t got = ::pread(channel, piece.get(), kCopyPiece, offset);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw flush_failure(channel);
    if (got == 0) break;
    const auto count = static_cast<std::size_t>(got);
    if (container.write(piece.get(), count) != count) throw flush_failure(channel);
    offset += got;
  }
  container.truncate(container.position());
}

}  // namespace

int CFI_convert_stream_to_fileid(CFI_stream_t stream) {
  show_call("CFI_convert_stream_to_fileid", *stream);
  support::OutputFile file(open_temporary_file());
  if (!file.is_open()) throw system_call_failed(errno);
  support::ByteSource& source = stream->source();
  const std::uint64_t position = source.position();
  source.set_position(0);
  const auto piece = std::make_unique_for_overwrite<char[]>(kCopyPiece);
  while (const std::size_t got = source.read(piece.get(), kCopyPiece)) {
    if (!file.write(piece.get(), got)) throw system_call_failed(errno);
  }
  source.set_position(position);
  const int channel = file.release();
  ::lseek(channel, static_cast<off_t>(position), SEEK_SET);
  return channel;
}

void CFI_release_stream_fileid(CFI_stream_t stream, int channel) {
  show_call("CFI_release_stream_fileid", *stream);
  const off_t position = ::lseek(channel, 0, SEEK_CUR);
  if (position < 0) throw flush_failure(channel);
  const support::OutputFile closes_the_channel(channel);
  if (stream->container() != nullptr) take_back(channel, *stream->container());
  stream->source().set_position(static_cast<std::uint64_t>(position));
}
