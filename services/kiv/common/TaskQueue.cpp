#include "services/kiv/common/TaskQueue.h"

#include <android/log.h>
#include <pthread.h>

#include <algorithm>
#include <utility>

namespace android::kiv::internal {

namespace {

constexpr char kLogTag[] = "KivTaskRunner";

thread_local const TaskQueue* running_queue = nullptr;

/// Keeps "now plus limit" within what the clock can express: a caller may pass the largest duration
/// to mean "no limit".
constexpr std::chrono::milliseconds kLongestWait = std::chrono::hours(24 * 365);

// Flags beside the pointer in posted_, in bits that an aligned pointer leaves free.
/// The worker sleeps: the next post wakes it.
constexpr uintptr_t kAsleep = 1;
/// The worker sleeps, but not for long: only an urgent post wakes it.
constexpr uintptr_t kLingering = 2;
/// No more tasks.
constexpr uintptr_t kClosed = 4;
constexpr uintptr_t kFlags = kAsleep | kLingering | kClosed;

/// Differs between a process and its forked copies. Written only in a fresh child, which has one
/// thread.
unsigned fork_generation = 0;

std::atomic<bool> watches_forks{false};

unsigned watchForks() {
  // Threads that get here at the same time count each fork more than once, which does no harm.
  if (!watches_forks.load(std::memory_order_relaxed)) {
    pthread_atfork(nullptr, nullptr, [] { ++fork_generation; });
    watches_forks.store(true, std::memory_order_relaxed);
  }
  return fork_generation;
}

/// A difference of counters that are read one after the other, so that it may be negative.
uint32_t atLeastZero(uint32_t difference) {
  return static_cast<uint32_t>(std::max(static_cast<int32_t>(difference), 0));
}

}  // namespace

struct TaskQueue::Waited {
  enum class State { QUEUED, STARTED, FINISHED, WITHDRAWN };

  explicit Waited(std::function<void()>&& task) { work.swap(task); }

  /// Succeeds for exactly one of two threads: the worker, which starts the task, or the waiter, who
  /// withdraws it. The other one does not touch `work` from then on.
  bool claim(State as) {
    State queued = State::QUEUED;
    return state.compare_exchange_strong(queued, as);
  }

  std::function<void()> work;
  std::atomic<State> state{State::QUEUED};
  Semaphore ended;
};

TaskQueue::TaskQueue(std::chrono::milliseconds start_limit)
    : start_limit_(std::max(start_limit, std::chrono::milliseconds::zero())),
      fork_generation_(watchForks()) {
  static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ > kFlags, "flags have no room beside a pointer");
}

void TaskQueue::post(std::function<void()>&& task) { append(std::move(task), Urgency::CAN_LINGER); }

KivStatus TaskQueue::postAndWait(std::function<void()>&& task) {
  if (isRunningOnCurrentThread()) return INVALID_OPERATION;

  const auto waited = std::make_shared<Waited>(std::move(task));
  if (!append([this, waited] { runWaited(*waited); }, Urgency::AT_ONCE)) return DEAD_OBJECT;

  if (!waited->ended.waitFor(std::min(start_limit_, kLongestWait)) &&
      waited->claim(Waited::State::WITHDRAWN)) {
    waited->work = nullptr;
    withdrawn_.fetch_add(1, std::memory_order_relaxed);
    return TIMED_OUT;
  }
  while (waited->state != Waited::State::FINISHED) waited->ended.wait();
  return OK;
}

void TaskQueue::runWaited(Waited& waited) {
  if (!waited.claim(Waited::State::STARTED)) {
    withdrawn_.fetch_sub(1, std::memory_order_relaxed);
    return;
  }
  waited.work();
  waited.work = nullptr;
  lingers_ = false;
  waited.state = Waited::State::FINISHED;
  waited.ended.signal();
}

bool TaskQueue::append(std::function<void()>&& task, Urgency urgency) {
  if (!hasWorker()) return false;
  if (exiting_.load(std::memory_order_acquire) && !admitsDuringExit()) return false;
  const uint32_t place = accepted_.fetch_add(1, std::memory_order_relaxed);
  if (static_cast<int32_t>(place - check_at_.load(std::memory_order_relaxed)) >= 0 &&
      !admitsBeyondMark(place) && urgency == Urgency::CAN_LINGER) {
    return drop();
  }
  auto newest = std::make_unique<Task>();
  newest->work.swap(task);
  const uintptr_t wakes = urgency == Urgency::AT_ONCE ? kAsleep | kLingering : kAsleep;
  uintptr_t posted = posted_.load(std::memory_order_relaxed);
  do {
    if ((posted & kClosed) != 0) {
      accepted_.fetch_sub(1, std::memory_order_relaxed);
      return false;
    }
    newest->next = newestOf(posted);
    // Clears the flags that make this thread the waker, so that there is only one.
  } while (!posted_.compare_exchange_weak(
      posted, reinterpret_cast<uintptr_t>(newest.get()) | (posted & kFlags & ~wakes),
      std::memory_order_release, std::memory_order_relaxed));
  static_cast<void>(newest.release());
  if ((posted & wakes) != 0) woken_.signal();
  // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the list owns the task
  return true;
}

void TaskQueue::beginExit() {
  exiting_thread_ = std::this_thread::get_id();
  exiting_.store(true, std::memory_order_release);
}

bool TaskQueue::admitsDuringExit() {
  return std::this_thread::get_id() == exiting_thread_ || isRunningOnCurrentThread() ||
         posted_during_exit_.fetch_add(1, std::memory_order_relaxed) < kTasksDuringExit;
}

void TaskQueue::close() {
  if (!hasWorker()) return;
  const uintptr_t posted = posted_.fetch_or(kClosed, std::memory_order_release);
  if ((posted & (kAsleep | kLingering)) != 0) woken_.signal();
}

bool TaskQueue::drop() {
  accepted_.fetch_sub(1, std::memory_order_relaxed);
  if (dropped_.fetch_add(1, std::memory_order_relaxed) == 0) {
    __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%u tasks are queued: dropping further ones",
                        kMaxQueued);
  }
  return false;
}

bool TaskQueue::admitsBeyondMark(uint32_t place) {
  uint32_t check_at = check_at_.load(std::memory_order_relaxed);
  const uint32_t started = started_.load(std::memory_order_relaxed);
  // The worker may have run tasks at later places by now.
  const uint32_t queued = atLeastZero(place + 1 - started);
  uint32_t mark = mark_.load(std::memory_order_relaxed);
  while (queued > mark && mark < kMaxQueued) {
    if (!mark_.compare_exchange_weak(mark, mark * 2, std::memory_order_relaxed)) continue;
    __android_log_print(ANDROID_LOG_WARN, kLogTag, "More than %u tasks are queued", mark);
    mark *= 2;
  }
  // Unless the worker has reset the mark meanwhile.
  check_at_.compare_exchange_strong(check_at, started + mark, std::memory_order_relaxed);
  return queued <= kMaxQueued;
}

void TaskQueue::resetMark() {
  if (mark_.load(std::memory_order_relaxed) == kFirstMark) return;
  mark_.store(kFirstMark, std::memory_order_relaxed);
  check_at_.store(started_.load(std::memory_order_relaxed) + kFirstMark, std::memory_order_relaxed);
  __android_log_print(ANDROID_LOG_WARN, kLogTag, "The queue is empty again; %u tasks were dropped",
                      dropped_.exchange(0, std::memory_order_relaxed));
}

uint32_t TaskQueue::size() const {
  // Below zero while the worker takes a withdrawn task.
  return atLeastZero(accepted_.load(std::memory_order_relaxed) -
                     started_.load(std::memory_order_relaxed) -
                     withdrawn_.load(std::memory_order_relaxed));
}

std::shared_ptr<Semaphore> TaskQueue::markPending() {
  if (isRunningOnCurrentThread()) return nullptr;
  const auto marker = std::make_shared<Semaphore>();
  return append([marker] { marker->signal(); }, Urgency::AT_ONCE) ? marker : nullptr;
}

std::optional<size_t> TaskQueue::runPending(const std::shared_ptr<Semaphore>& marker,
                                            std::chrono::steady_clock::time_point deadline) {
  if (!hasWorker()) return std::nullopt;
  if (isRunningOnCurrentThread()) {
    takePosted();
    size_t left = 0;
    for (const Task* task = batch_; task != nullptr; task = task->next) ++left;
    for (; left > 0 && batch_ != nullptr; --left) {
      if (std::chrono::steady_clock::now() >= deadline) return left;
      runFirst();
    }
    return std::nullopt;
  }
  if (marker != nullptr) {
    if (marker->waitUntil(deadline)) return std::nullopt;
    // Not counting the marker.
    return std::max<size_t>(size(), 1) - 1;
  }
  if (waitForEnd(deadline)) return std::nullopt;
  return size();
}

bool TaskQueue::waitForEnd(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  return ended_changed_.wait_until(lock, deadline, [this] { return ended_; });
}

void TaskQueue::run() {
  running_queue = this;
  runTasks();
  // Another queue may be made at this address while objects of this thread are destroyed.
  running_queue = nullptr;
  if (!hasWorker()) return;
  std::lock_guard lock(mutex_);
  ended_ = true;
  ended_changed_.notify_all();
}

void TaskQueue::runTasks() {
  for (;;) {
    const uintptr_t flags = takePosted();
    if (batch_ != nullptr) {
      while (batch_ != nullptr && hasWorker()) runFirst();
      // In a forked process this is the copy of a worker whose task has forked: the rest is its
      // parent's.
      if (!hasWorker()) return;
      continue;
    }
    resetMark();
    if ((flags & kClosed) != 0) return;

    // Only an empty list makes way for the flag. If a task has come meanwhile, it is taken instead.
    uintptr_t empty = 0;
    if (!posted_.compare_exchange_strong(empty, lingers_ ? kLingering : kAsleep)) continue;
    if (lingers_) {
      woken_.waitFor(nextLinger());
    } else {
      woken_.wait();
      linger_ = std::chrono::microseconds::zero();
    }
    lingers_ = false;
    tasks_since_sleep_ = 0;
  }
}

std::chrono::microseconds TaskQueue::nextLinger() {
  if (tasks_since_sleep_ >= kManyTasks) {
    linger_ /= 2;
  } else if (tasks_since_sleep_ < kFewTasks) {
    linger_ *= 2;
  }
  return linger_ = std::clamp(linger_, kShortestLinger, kLongestLinger);
}

TaskQueue::Task* TaskQueue::newestOf(uintptr_t posted) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): it was a pointer before it was put into one word
  return reinterpret_cast<Task*>(posted & ~kFlags);
}

uintptr_t TaskQueue::takePosted() {
  const uintptr_t posted = posted_.fetch_and(kClosed, std::memory_order_acquire);
  Task* oldest = nullptr;
  Task* const newest = newestOf(posted);
  for (Task* task = newest; task != nullptr;) {
    Task* const older = std::exchange(task->next, oldest);
    oldest = std::exchange(task, older);
  }
  if (oldest != nullptr) {
    (batch_ == nullptr ? batch_ : batch_end_->next) = oldest;
    batch_end_ = newest;
  }
  return posted & kFlags;
}

void TaskQueue::runFirst() {
  const std::unique_ptr<Task> task(std::exchange(batch_, batch_->next));
  lingers_ = true;
  ++tasks_since_sleep_;
  started_.store(started_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  if (batch_ != nullptr) {
    // Most of a long queue has left the processor's cache. The next tasks return while this one
    // runs.
    __builtin_prefetch(batch_->next);
  }
  task->work();
}

bool TaskQueue::isRunningOnCurrentThread() const { return running_queue == this && hasWorker(); }

bool TaskQueue::hasWorker() const { return fork_generation_ == fork_generation; }

}  // namespace android::kiv::internal
