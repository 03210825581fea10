#include "support/output_buffer.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

namespace support {

void OutputBuffer::append(std::string_view text) {
  if (text.size() > sizeof text_ - length()) flush();
  if (text.size() > sizeof text_) return write(text);
  std::memcpy(text_ + length(), text.data(), text.size());
  use(text.size());
}

void OutputBuffer::flush() {
  const std::size_t count = length();
  set_length(0);
  write({text_, count});
}

void OutputBuffer::write(std::string_view text) {
  while (!text.empty() && !failed_) {
    const ssize_t written = ::write(descriptor_, text.data(), text.size());
    if (written > 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else {
      failed_ = written == 0 || errno != EINTR;
    }
  }
}

void OutputBuffer::rescue() noexcept {
  constexpr int kPatienceMilliseconds = 500;
  std::string_view text(text_, std::min(length(), sizeof text_));
  text = text.substr(0, text.rfind('\n') + 1);
  while (!text.empty() && !failed_) {
    // A pipe that takes PIPE_BUF bytes does not block; one that nobody reads must not keep the process.
    pollfd taker = {descriptor_, POLLOUT, 0};
    if (::poll(&taker, 1, kPatienceMilliseconds) < 1) return;
    const ssize_t written = ::write(descriptor_, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (written < 1) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace support
