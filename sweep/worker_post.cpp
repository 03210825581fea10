#include "sweep/worker_post.h"

#include <climits>
#include <new>

#include "support/error_escape.h"

namespace sweep {

namespace {

/// A worker whose files take less than this gets the next name ahead, so that it need not wait for it.
constexpr std::chrono::milliseconds kQuick{10};

}  // namespace

bool WorkerPost::may_take_more() const { return held_.size() == 1 && is_quick_ && !is_leaving_; }

void WorkerPost::assign(Task& task) {
  const std::string& name = task.file.name;
  // While the worker answers it takes no more than the channel holds.
  if (name.size() > PATH_MAX && !held_.empty()) return keeper_.give_back(task);
  if (!worker_) worker_ = std::make_unique<Worker>(examiner_, options_.memory_bytes);
  if (!worker_->send(name) && held_.empty()) {
    // It died while it had nothing to do, which is not this file's fault.
    worker_ = std::make_unique<Worker>(examiner_, options_.memory_bytes);
    is_leaving_ = false;
    worker_->send(name);
  }
  if (held_.empty()) began_ = Clock::now();
  held_.push_back(&task);
}

void WorkerPost::receive() {
  if (!worker_->receive(*this)) bury();
}

WorkerPost::Clock::time_point WorkerPost::deadline() const {
  const bool has_one = options_.time.count() > 0 && !is_overdue_ && !is_leaving_;
  return has_one ? began_ + options_.time : Clock::time_point::max();
}

void WorkerPost::enforce_deadline() {
  if (Clock::now() < deadline()) return;
  is_overdue_ = true;
  worker_->kill();
}

Task& WorkerPost::release_first() {
  Task& task = *held_.front();
  held_.pop_front();
  const Clock::time_point now = Clock::now();
  is_quick_ = now - began_ < kQuick;
  began_ = now;
  if (is_overdue_) is_leaving_ = true;
  is_overdue_ = false;
  return task;
}

void WorkerPost::take_document(std::string_view bytes) {
  if (held_.empty() || !spoilt_.empty()) return;
  try {
    held_.front()->document.write(bytes);
  } catch (const support::ErrorEscape& escape) {
    spoilt_ = escape.message();
  } catch (const std::bad_alloc&) {
    spoilt_ = kOutOfMemory;
  }
}

void WorkerPost::take_status(int status) {
  if (held_.empty()) return;
  Task& task = release_first();
  if (spoilt_.empty()) {
    keeper_.finish(task, status);
  } else {
    keeper_.lose(task, std::exchange(spoilt_, {}));
  }
}

void WorkerPost::take_failure(const std::string& reason) {
  is_leaving_ = true;
  spoilt_.clear();
  if (!held_.empty()) keeper_.lose(release_first(), reason);
}

void WorkerPost::bury() {
  std::string reason = worker_->end();
  worker_.reset();
  if (is_overdue_) {
    reason = "it took longer than the limit of " + std::to_string(options_.time.count()) + " seconds";
  }
  const bool at_fault = !is_leaving_ && !held_.empty();
  if (at_fault) keeper_.lose(release_first(), reason);
  for (; !held_.empty(); held_.pop_back()) keeper_.give_back(*held_.back());
  spoilt_.clear();
  is_quick_ = is_overdue_ = is_leaving_ = false;
}

}  // namespace sweep
