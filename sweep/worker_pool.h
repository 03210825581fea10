#pragma once

#include <cstddef>
#include <deque>
#include <string>

#include "support/spool.h"
#include "sweep/sweep.h"
#include "sweep/worker_post.h"

namespace sweep {

/// Spreads files over worker processes and hands over their documents in the order of the files; those that
/// are ready before their turn wait in spools.
class WorkerPool final : public TaskKeeper {
 public:
  /// Of the options at least one job.
  WorkerPool(FileSource& source, Examiner& examiner, const SweepOptions& options, Receiver& receiver);

  /// To the end of the files; once only. Raises what sweep_files() raises.
  void run();

 private:
  void deliver();
  void dispatch();
  bool dispatch_to(WorkerPost& post);
  Task* next_task();
  void wait();
  int patience_milliseconds() const;
  void finish(Task& task, int status) override;
  void lose(Task& task, const std::string& reason) override;
  void give_back(Task& task) override { returned_.push_front(&task); }

  FileSource& source_;
  Examiner& examiner_;
  Receiver& receiver_;
  support::SpoolFile spool_file_;
  std::deque<Task> tasks_;      ///< in order; those in front have been handed over
  std::deque<Task*> returned_;  ///< not examined where they were sent
  std::deque<WorkerPost> posts_;
  std::size_t kept_bytes_ = 0;
  int awaited_ = -1;  ///< what the next name waits for
  bool at_end_ = false;
};

}  // namespace sweep
