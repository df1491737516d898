#include "TaskQueue.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

namespace android::kiv::internal {

namespace {

thread_local const TaskQueue* running_queue = nullptr;

/// Keeps "now plus limit" within what the clock can express: a caller may pass the largest duration
/// to mean "no limit".
constexpr std::chrono::milliseconds kLongestWait = std::chrono::hours(24 * 365);

/// How many forks lie between this process and the one that loaded the library. Written only in a
/// fresh child, which has one thread.
unsigned fork_generation = 0;

unsigned watchForks() {
  static const int watching = pthread_atfork(nullptr, nullptr, [] { ++fork_generation; });
  static_cast<void>(watching);
  return fork_generation;
}

}  // namespace

TaskQueue::TaskQueue(std::chrono::milliseconds start_limit)
    : start_limit_(start_limit), fork_generation_(watchForks()) {}

void TaskQueue::post(std::function<void()> task) {
  Tasks one;
  one.push_back({std::move(task), nullptr});
  append(one);
}

KivStatus TaskQueue::postAndWait(std::function<void()> task) {
  return postAndWait(std::move(task), start_limit_);
}

KivStatus TaskQueue::postAndWait(std::function<void()> task,
                                 std::optional<std::chrono::milliseconds> start_limit) {
  if (isRunningOnCurrentThread()) return INVALID_OPERATION;

  Waiter waiter;
  Tasks own;
  own.push_back({std::move(task), &waiter});
  const auto position = own.begin();
  if (!append(own)) return DEAD_OBJECT;

  std::unique_lock lock(mutex_);
  const auto finished = [&] { return waiter.state == Waiter::State::FINISHED; };
  if (start_limit.has_value() &&
      !waiter.finished.wait_for(lock, std::min(*start_limit, kLongestWait), finished) &&
      waiter.state == Waiter::State::QUEUED) {
    own.splice(own.begin(), tasks_, position);
    // Unlocked first: what the withdrawn task captured is released by its owner, not under the
    // lock.
    lock.unlock();
    return TIMED_OUT;
  }
  waiter.finished.wait(lock, finished);
  return OK;
}

bool TaskQueue::append(Tasks& task) {
  if (!hasWorker()) return false;
  {
    std::lock_guard lock(mutex_);
    if (closed_) return false;
    tasks_.splice(tasks_.end(), task);
  }
  posted_or_closed_.notify_one();
  return true;
}

void TaskQueue::close() {
  if (!hasWorker()) return;
  {
    std::lock_guard lock(mutex_);
    closed_ = true;
  }
  posted_or_closed_.notify_one();
}

void TaskQueue::runPending() {
  if (!hasWorker()) return;
  if (isRunningOnCurrentThread()) {
    std::unique_lock lock(mutex_);
    for (size_t pending = tasks_.size(); pending > 0 && !tasks_.empty(); --pending) runNext(lock);
    return;
  }
  if (postAndWait([] {}, std::nullopt).ok()) return;
  std::unique_lock lock(mutex_);
  ended_changed_.wait(lock, [this] { return ended_; });
}

void TaskQueue::run() {
  running_queue = this;
  std::unique_lock lock(mutex_);
  for (;;) {
    posted_or_closed_.wait(lock, [this] { return closed_ || !tasks_.empty(); });
    if (tasks_.empty()) break;
    runNext(lock);
  }
  ended_ = true;
  ended_changed_.notify_all();
}

void TaskQueue::runNext(std::unique_lock<std::mutex>& lock) {
  Tasks current;
  current.splice(current.begin(), tasks_, tasks_.begin());
  Waiter* const waiter = current.front().waiter;
  if (waiter != nullptr) waiter->state = Waiter::State::STARTED;

  lock.unlock();
  current.front().work();
  current.clear();
  lock.lock();

  if (waiter != nullptr) {
    waiter->state = Waiter::State::FINISHED;
    // Notified under the lock: the waiter, and with it the condition, may be gone right after.
    waiter->finished.notify_one();
  }
}

bool TaskQueue::isRunningOnCurrentThread() const { return running_queue == this; }

bool TaskQueue::hasWorker() const { return fork_generation_ == fork_generation; }

}  // namespace android::kiv::internal
