#include "sweep/worker.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <new>

#include "support/system_failure.h"

namespace sweep {

namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} * 1024;

/// Whatever the parent has open is none of the worker's business; what is printed by mistake belongs nowhere.
/// Returns the descriptor that the channel has then.
int keep_only(int channel) {
  constexpr int kChannel = STDERR_FILENO + 1;
  if (channel != kChannel) ::dup2(channel, kChannel);
  ::close_range(kChannel + 1, ~0U, 0);
  const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  ::dup2(nothing, STDIN_FILENO);
  ::dup2(nothing, STDOUT_FILENO);
  ::close(nothing);
  return kChannel;
}

void limit_memory(std::uint64_t bytes) {
  rlimit limit = {};
  ::getrlimit(RLIMIT_AS, &limit);
  limit.rlim_cur = std::min<rlim_t>(bytes, limit.rlim_max);
  ::setrlimit(RLIMIT_AS, &limit);
}

}  // namespace

bool Worker::send_all(int channel, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(channel, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool Worker::receive_all(int channel, void* bytes, std::size_t count) {
  auto* next = static_cast<char*>(bytes);
  while (count > 0) {
    const ssize_t got = ::recv(channel, next, count, MSG_WAITALL);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    next += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

/// The worker's side of the answers. A short document goes with its status in one piece.
class Worker::Replier final : public support::ByteSink {
 public:
  explicit Replier(int channel) : channel_(channel) { waiting_.reserve(kPieceBytes + 2 * sizeof(Header)); }

  void write(std::string_view bytes) override {
    while (!bytes.empty()) {
      if (waiting_.empty()) append({kDocument, 0});
      const std::size_t taken = std::min(bytes.size(), kPieceBytes - waiting_.size());
      waiting_.append(bytes.substr(0, taken));
      bytes.remove_prefix(taken);
      if (waiting_.size() == kPieceBytes) flush();
    }
  }

  void finish(int status) {
    end_document();
    append({kStatus, static_cast<std::uint32_t>(status)});
    flush_frames();
  }

  /// Takes no memory: the want of it may be the reason.
  void fail(std::string_view reason) {
    flush();
    append({kFailure, static_cast<std::uint32_t>(reason.size())});
    flush_frames();
    send(reason);
  }

 private:
  void append(Header header) {
    std::array<char, sizeof header> bytes = {};
    std::memcpy(bytes.data(), &header, sizeof header);
    waiting_.append(bytes.data(), bytes.size());
  }

  void end_document() {
    if (waiting_.empty()) return;
    const Header header = {kDocument, static_cast<std::uint32_t>(waiting_.size() - sizeof(Header))};
    std::memcpy(waiting_.data(), &header, sizeof header);
  }

  void flush() {
    end_document();
    flush_frames();
  }

  void flush_frames() {
    send(waiting_);
    waiting_.clear();
  }

  void send(std::string_view bytes) const {
    if (!send_all(channel_, bytes)) ::_exit(1);
  }

  int channel_;
  std::string waiting_;  ///< a header and what is behind it
};

void Worker::serve(int channel, Examiner& examiner) {
  Replier replier(channel);
  std::string name;
  try {
    Header header;
    while (receive_all(channel, &header, sizeof header)) {
      name.resize(header.value);
      if (!receive_all(channel, name.data(), name.size())) break;
      replier.finish(examiner.examine(name, replier));
    }
  } catch (const std::bad_alloc&) {
    replier.fail(kOutOfMemory);
  } catch (const std::exception& escape) {
    replier.fail(escape.what());
  }
  ::_exit(0);
}

void Worker::run(int channel, Examiner& examiner, std::uint64_t memory_bytes, pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(1);
  channel = keep_only(channel);
  if (memory_bytes > 0) limit_memory(memory_bytes);
  serve(channel, examiner);
}

Worker::Worker(Examiner& examiner, std::uint64_t memory_bytes) : piece_(kPieceBytes, '\0') {
  constexpr const char* kDeed = "start a worker process";
  std::array<int, 2> ends = {};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw support::system_failure(kDeed, errno);
  }
  channel_ = support::Descriptor(ends[0]);
  const support::Descriptor theirs(ends[1]);
  const pid_t parent = ::getpid();
  process_ = ::fork();
  if (process_ == 0) run(theirs.number(), examiner, memory_bytes, parent);
  if (process_ < 0) throw support::system_failure(kDeed, errno);
}

Worker::~Worker() {
  if (process_ < 0) return;
  kill();
  ::waitpid(process_, nullptr, 0);
}

bool Worker::send(const std::string& name) {
  const Header header = {kName, static_cast<std::uint32_t>(name.size())};
  std::string frame(sizeof header, '\0');
  std::memcpy(frame.data(), &header, sizeof header);
  return send_all(channel_.number(), frame += name);
}

bool Worker::receive(WorkerReplies& replies) {
  const ssize_t got = ::recv(channel_.number(), piece_.data(), piece_.size(), 0);
  if (got < 0 && errno == EINTR) return true;
  if (got <= 0) return false;
  std::string_view bytes(piece_.data(), static_cast<std::size_t>(got));
  while (!bytes.empty()) bytes.remove_prefix(take(bytes, replies));
  return true;
}

/// Returns how many of the bytes it took.
std::size_t Worker::take(std::string_view bytes, WorkerReplies& replies) {
  if (header_bytes_ < sizeof header_) {
    const std::size_t taken = std::min(bytes.size(), sizeof header_ - header_bytes_);
    std::memcpy(reinterpret_cast<char*>(&header_) + header_bytes_, bytes.data(), taken);
    header_bytes_ += taken;
    if (header_bytes_ == sizeof header_) finish_frame(replies);
    return taken;
  }
  bytes = bytes.substr(0, header_.value - content_bytes_);
  content_bytes_ += bytes.size();
  if (header_.kind == kDocument) {
    replies.take_document(bytes);
  } else {
    reason_ += bytes;
  }
  finish_frame(replies);
  return bytes.size();
}

void Worker::finish_frame(WorkerReplies& replies) {
  if (header_.kind != kStatus && content_bytes_ < header_.value) return;
  if (header_.kind == kStatus) replies.take_status(static_cast<int>(header_.value));
  if (header_.kind == kFailure) replies.take_failure(reason_);
  header_bytes_ = 0;
  content_bytes_ = 0;
  reason_.clear();
}

void Worker::kill() { ::kill(process_, SIGKILL); }

std::string Worker::end() {
  int status = 0;
  while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  if (!WIFSIGNALED(status)) {
    return "the process that examined it ended with status " + std::to_string(WEXITSTATUS(status));
  }
  const int signal = WTERMSIG(status);
  return "the process that examined it was killed by signal " + std::to_string(signal) + " (" +
         ::strsignal(signal) + ")";
}

}  // namespace sweep
