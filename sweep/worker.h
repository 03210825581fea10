#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/descriptor.h"
#include "sweep/sweep.h"

namespace sweep {

inline constexpr const char* kOutOfMemory = "out of memory";

/// What a worker answers, in pieces: for each name the bytes of its document and then the status, or why
/// there is none.
class WorkerReplies {
 public:
  virtual ~WorkerReplies() = default;
  virtual void take_document(std::string_view bytes) = 0;
  virtual void take_status(int status) = 0;

  /// The worker ends by itself after this.
  virtual void take_failure(const std::string& reason) = 0;
};

/// A process that examines one file after the other, as their names come. It is made from this one, keeps
/// nothing open but its channel and standard error, and does not outlive it. A channel carries frames: two
/// 32-bit words, kind and value, in the machine's byte order, and behind them as many bytes as the value says
/// unless it is a status.
class Worker {
 public:
  /// Starts the process; `memory_bytes` is what it may take for itself, 0 for no limit. Raises 641002.
  Worker(Examiner& examiner, std::uint64_t memory_bytes);

  /// Kills the process.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Ready for reading when there is something to receive.
  int descriptor() const { return channel_.number(); }

  /// False when the process is no more.
  bool send(const std::string& name);

  /// Hands over what has come; false when the process has ended and nothing is left to come.
  bool receive(WorkerReplies& replies);

  void kill();

  /// Waits for the end of the process and says how it came about.
  std::string end();

 private:
  struct Header {
    std::uint32_t kind = 0;
    std::uint32_t value = 0;
  };
  enum Kind : std::uint32_t { kName, kDocument, kStatus, kFailure };
  class Replier;

  static bool send_all(int channel, std::string_view bytes);
  static bool receive_all(int channel, void* bytes, std::size_t count);
  [[noreturn]] static void serve(int channel, Examiner& examiner);
  [[noreturn]] static void run(int channel, Examiner& examiner, std::uint64_t memory_bytes, pid_t parent);
  std::size_t take(std::string_view bytes, WorkerReplies& replies);
  void finish_frame(WorkerReplies& replies);

  support::Descriptor channel_;
  pid_t process_ = -1;
  std::string piece_;  ///< room for what comes
  Header header_;      ///< of the frame that is coming
  std::size_t header_bytes_ = 0;
  std::size_t content_bytes_ = 0;
  std::string reason_;
};

}  // namespace sweep
