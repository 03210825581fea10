#include <unistd.h>

#include <cerrno>
#include <span>

#include "cfi/cfi_error_codes.h"
#include "cfi/flat/cfi_storage.h"
#include "cfi/flat/handle_access.h"
#include "support/byte_copy.h"
#include "support/output_file.h"
#include "support/temporary_file.h"

using namespace VRX::System::CFI;

namespace {

support::ErrorEscape flush_failure(int channel) {
  return {"cfi", kSystemCallFailed, support::format_text("Could not flush channel %d", channel)};
}

std::size_t read_channel(int channel, void* destination, std::size_t count, std::uint64_t offset) {
  auto* next = static_cast<std::byte*>(destination);
  std::size_t total = 0;
  while (total < count) {
    const ssize_t got = ::pread(channel, next + total, count - total, static_cast<off_t>(offset + total));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw flush_failure(channel);
    if (got == 0) break;
    total += static_cast<std::size_t>(got);
  }
  return total;
}

// The bytes of the channel become those of the container.
void take_back(int channel, Container& container) {
  container.set_position(0);
  support::copy_bytes(
      [&](void* piece, std::size_t count) {
        return read_channel(channel, piece, count, container.position());
      },
      [&](std::span<const std::byte> bytes) {
        if (container.write(bytes.data(), bytes.size()) != bytes.size()) {
          throw flush_failure(channel);
        }
      });
  container.truncate(container.position());
}

}  // namespace

int CFI_convert_stream_to_fileid(CFI_stream_t stream) {
  show_call("CFI_convert_stream_to_fileid", *stream);
  support::OutputFile file = support::open_temporary_file();
  if (!file.is_open()) throw system_call_failed(file.error());
  support::ByteSource& source = stream->source();
  const std::uint64_t position = source.position();
  source.set_position(0);
  support::copy_source(source, [&](std::span<const std::byte> bytes) {
    if (!file.write(bytes.data(), bytes.size())) throw system_call_failed(file.error());
  });
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
  if (stream->container() != nullptr) {
    try {
      take_back(channel, *stream->container());
    } catch (const support::ErrorEscape&) {
      stream->parent().root().writable->mark_failed();
      throw;
    }
  }
  stream->source().set_position(static_cast<std::uint64_t>(position));
}
