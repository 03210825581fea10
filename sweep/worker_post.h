#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "support/spool.h"
#include "sweep/sweep.h"
#include "sweep/worker.h"

namespace sweep {

/// A file on its way.
struct Task {
  Task(FoundFile found, support::SpoolFile& spool_file) : file(std::move(found)), document(spool_file) {}

  FoundFile file;
  support::Spool document;
  int status = 0;
  bool is_done = false;
  std::size_t kept_bytes = 0;  ///< of memory, counted while it waits for its turn
};

/// Takes back what a worker was given.
class TaskKeeper {
 public:
  virtual ~TaskKeeper() = default;
  virtual void finish(Task& task, int status) = 0;
  virtual void lose(Task& task, const std::string& reason) = 0;

  /// Nobody has begun with it.
  virtual void give_back(Task& task) = 0;
};

/// The place of one worker, which is filled anew when the worker dies. It is sent the file that it examines
/// and, when its files are quickly done, one more.
class WorkerPost final : private WorkerReplies {
 public:
  using Clock = std::chrono::steady_clock;

  /// All of them outlive the post.
  WorkerPost(TaskKeeper& keeper, Examiner& examiner, const SweepOptions& options)
      : keeper_(keeper), examiner_(examiner), options_(options) {}

  bool is_idle() const { return held_.empty(); }
  bool may_take_more() const;

  /// Raises 641002 when there is no worker and none can be started.
  void assign(Task& task);

  /// Of a post that is not idle; see Worker.
  int descriptor() const { return worker_->descriptor(); }
  void receive();

  /// When the file that is being examined will have taken too long.
  Clock::time_point deadline() const;
  void enforce_deadline();

 private:
  void take_document(std::string_view bytes) override;
  void take_status(int status) override;
  void take_failure(const std::string& reason) override;
  Task& release_first();
  void bury();

  TaskKeeper& keeper_;
  Examiner& examiner_;
  const SweepOptions& options_;
  std::unique_ptr<Worker> worker_;
  std::deque<Task*> held_;
  Clock::time_point began_;  ///< with the first that is held
  std::string spoilt_;       ///< why the document of the first is not whole
  bool is_quick_ = false;    ///< the file before was done in no time
  bool is_overdue_ = false;
  bool is_leaving_ = false;  ///< the worker ends, and not by the fault of what it holds
};

}  // namespace sweep
