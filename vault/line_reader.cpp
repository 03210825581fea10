#include "vault/line_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "support/printable.h"
#include "support/system_failure.h"

namespace vault {

namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} << 10U;

}  // namespace

LineReader::LineReader(const std::string& file_name) : file_name_(support::printable(file_name)) {
  if (file_name == "-") return;
  file_ = support::Descriptor(::open(file_name.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file_.is_open()) throw support::system_failure("open " + file_name_, errno);
}

bool LineReader::read_piece() {
  piece_.resize(kPieceBytes);
  at_ = 0;
  const int descriptor = file_.is_open() ? file_.number() : STDIN_FILENO;
  ssize_t count = 0;
  do {
    count = ::read(descriptor, piece_.data(), piece_.size());
  } while (count < 0 && errno == EINTR);
  if (count < 0) throw support::system_failure("read " + file_name_, errno);
  piece_.resize(static_cast<std::size_t>(count));
  return count > 0;
}

std::optional<std::string> LineReader::next() {
  std::string line;
  bool begun = false;
  while (at_ < piece_.size() || read_piece()) {
    begun = true;
    const std::size_t end = piece_.find('\n', at_);
    line.append(piece_, at_, (end == std::string::npos ? piece_.size() : end) - at_);
    at_ = end == std::string::npos ? piece_.size() : end + 1;
    if (line.size() > kLongestLine) {
      throw support::ErrorEscape("vault", support::kSystemFailure,
                                 file_name_ + " has a line that is too long");
    }
    if (end != std::string::npos) break;
  }
  if (!begun) return std::nullopt;
  ++number_;
  return line;
}

}  // namespace vault
