#include "cfi/writing/v_file_channel.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "cfi/cfi_error_codes.h"

namespace VRX::System::CFI {

VFileChannel::VFileChannel(std::string name) : FileChannel(std::move(name), O_RDWR) {}

std::size_t VFileChannel::write_at(std::uint64_t offset, const void* bytes, std::size_t count) {
  const auto* next = static_cast<const std::byte*>(bytes);
  std::size_t total = 0;
  while (total < count) {
    const ssize_t done =
        ::pwrite(descriptor(), next + total, count - total, static_cast<off_t>(offset + total));
    if (done < 0 && errno == EINTR) continue;
    if (done < 0 && total == 0) throw system_call_failed(errno);
    if (done <= 0) break;
    total += static_cast<std::size_t>(done);
  }
  forget_windows(offset + total);
  return total;
}

void VFileChannel::set_size(std::uint64_t size) {
  if (::ftruncate(descriptor(), static_cast<off_t>(size)) != 0) throw system_call_failed(errno);
  note_size(size);
}

void VFileChannel::flush() {
  if (::fsync(descriptor()) != 0) throw system_call_failed(errno);
}

}  // namespace VRX::System::CFI
