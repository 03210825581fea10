#include "sweep/name_list.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "support/printable.h"
#include "support/system_failure.h"

namespace sweep {

namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} * 1024;

bool is_readable(int descriptor, int timeout_milliseconds) {
  pollfd source = {descriptor, POLLIN, 0};
  return ::poll(&source, 1, timeout_milliseconds) > 0;
}

}  // namespace

NameList::NameList(const std::string& file_name)
    : shown_name_(file_name == "-" ? "standard input" : support::printable(file_name)),
      end_(std::string::npos) {
  if (file_name == "-") return;
  file_ = support::Descriptor(::open(file_name.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file_.is_open()) throw support::system_failure("open the list of names " + shown_name_, errno);
}

/// A whole name, or what must be taken for one.
bool NameList::has_name() const {
  return end_ != std::string::npos || piece_.size() - at_ > kLongestName || (at_end_ && at_ < piece_.size());
}

/// Of the next name; first of the one of which too much has been taken already.
void NameList::find_end() {
  end_ = piece_.find('\0', at_);
  if (!is_cut_) return;
  is_cut_ = end_ == std::string::npos;
  at_ = is_cut_ ? piece_.size() : end_ + 1;
  end_ = piece_.find('\0', at_);
}

void NameList::read_piece() {
  piece_.erase(0, at_);
  at_ = 0;
  const std::size_t kept = piece_.size();
  piece_.resize(kept + kPieceBytes);
  const ssize_t got = ::read(descriptor(), piece_.data() + kept, kPieceBytes);
  const int error = errno;
  piece_.resize(kept + static_cast<std::size_t>(got > 0 ? got : 0));
  find_end();
  if (got > 0) return;
  if (got == 0) {
    at_end_ = true;
  } else if (error == EAGAIN) {
    is_readable(descriptor(), -1);
  } else if (error != EINTR) {
    throw support::system_failure("read the list of names " + shown_name_, error);
  }
}

std::optional<std::string> NameList::next() {
  while (!has_name() && !at_end_) read_piece();
  if (!has_name()) return std::nullopt;
  const std::size_t end = std::min(end_, piece_.size());
  std::string name = piece_.substr(at_, std::min(end - at_, kLongestName));
  is_cut_ = end_ == std::string::npos;
  at_ = is_cut_ ? end : end + 1;
  find_end();
  return name;
}

int NameList::awaited() {
  while (!has_name() && !at_end_) {
    if (!is_readable(descriptor(), 0)) return descriptor();
    read_piece();
  }
  return -1;
}

}  // namespace sweep
