#include "sweep/worker_pool.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>
#include <vector>

#include "support/error_escape.h"
#include "support/system_failure.h"

namespace sweep {

namespace {

/// Files that may be under way or wait for their turn; each costs a few hundred bytes.
constexpr std::size_t kMostTasks = 65536;

/// Memory for documents that wait for their turn.
constexpr std::size_t kMostKeptBytes = std::size_t{16} << 20U;

constexpr std::chrono::milliseconds kTick{200};

}  // namespace

WorkerPool::WorkerPool(FileSource& source, Examiner& examiner, const SweepOptions& options,
                       Receiver& receiver)
    : source_(source), examiner_(examiner), receiver_(receiver) {
  for (std::size_t i = 0; i < options.jobs; ++i) posts_.emplace_back(*this, examiner, options);
}

void WorkerPool::run() {
  while (true) {
    deliver();
    dispatch();
    deliver();
    if (at_end_ && tasks_.empty()) return;
    wait();
    receiver_.tick();
  }
}

void WorkerPool::deliver() {
  while (!tasks_.empty() && tasks_.front().is_done) {
    const Task& task = tasks_.front();
    receiver_.take(task.file, task.status, task.document);
    kept_bytes_ -= task.kept_bytes;
    tasks_.pop_front();
  }
}

void WorkerPool::dispatch() {
  awaited_ = -1;
  for (WorkerPost& post : posts_) {
    if (post.is_idle() && !dispatch_to(post)) return;
  }
  for (WorkerPost& post : posts_) {
    if (post.may_take_more() && !dispatch_to(post)) return;
  }
}

/// False when there is nothing to do now, or nobody to do it.
bool WorkerPool::dispatch_to(WorkerPost& post) {
  Task* task = next_task();
  if (task == nullptr) return false;
  try {
    post.assign(*task);
    return true;
  } catch (const support::ErrorEscape&) {
    // The others can do the work, if there are any.
    if (std::ranges::all_of(posts_, &WorkerPost::is_idle)) throw;
    returned_.push_front(task);
    return false;
  }
}

Task* WorkerPool::next_task() {
  if (!returned_.empty()) {
    Task* task = returned_.front();
    returned_.pop_front();
    return task;
  }
  while (!at_end_ && tasks_.size() < kMostTasks) {
    awaited_ = source_.awaited();
    if (awaited_ >= 0) return nullptr;
    auto file = source_.next();
    if (!file) {
      at_end_ = true;
      return nullptr;
    }
    Task& task = tasks_.emplace_back(std::move(*file), spool_file_);
    if (task.file.trouble.empty()) return &task;
    lose(task, task.file.trouble);
  }
  return nullptr;
}

int WorkerPool::patience_milliseconds() const {
  using Clock = WorkerPost::Clock;
  Clock::time_point end = Clock::now() + kTick;
  for (const WorkerPost& post : posts_) {
    if (!post.is_idle()) end = std::min(end, post.deadline());
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
  return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

void WorkerPool::wait() {
  std::vector<pollfd> sources;
  std::vector<WorkerPost*> busy;
  for (WorkerPost& post : posts_) {
    if (post.is_idle()) continue;
    busy.push_back(&post);
    sources.push_back({post.descriptor(), POLLIN, 0});
  }
  if (awaited_ >= 0) sources.push_back({awaited_, POLLIN, 0});
  if (sources.empty()) return;
  if (::poll(sources.data(), sources.size(), patience_milliseconds()) < 0 && errno != EINTR) {
    throw support::system_failure("wait for the worker processes", errno);
  }
  for (std::size_t i = 0; i < busy.size(); ++i) {
    if (sources[i].revents != 0) busy[i]->receive();
    if (!busy[i]->is_idle()) busy[i]->enforce_deadline();
  }
}

void WorkerPool::finish(Task& task, int status) {
  task.status = status;
  task.is_done = true;
  if (&task == &tasks_.front()) return;
  if (kept_bytes_ + task.document.memory() > kMostKeptBytes) {
    try {
      task.document.push_out();
    } catch (const support::ErrorEscape&) {
      // It stays where it is.
    }
  }
  task.kept_bytes = task.document.memory();
  kept_bytes_ += task.kept_bytes;
}

void WorkerPool::lose(Task& task, const std::string& reason) {
  task.document.clear();
  finish(task, examiner_.report_lost(task.file.name, reason, task.document));
}

}  // namespace sweep
