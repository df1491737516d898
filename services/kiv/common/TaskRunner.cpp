#include "kiv/TaskRunner.h"

#include <android/log.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "services/kiv/common/TaskQueue.h"

namespace android::kiv {

namespace {

using internal::TaskQueue;

constexpr char kLogTag[] = "KivTaskRunner";

/// An empty task is an error of its caller, who is still on the stack here.
void requireTask(const std::function<void()>& task) {
  if (task) return;
  __android_log_assert("task", kLogTag, "An empty task was posted");
}

/// The time that process exit waits for workers, in all. The telemetry library has a second more
/// for the last windows.
constexpr std::chrono::seconds kExitPatience{9};

void logGivenUp(size_t tasks) {
  __android_log_print(
      ANDROID_LOG_ERROR, kLogTag,
      "Gave up %zu queued tasks at process exit: the running task did not end in time", tasks);
}

/// The queues whose worker has not ended, so that what they hold can be run at process exit.
class LiveQueues {
 public:
  static LiveQueues& getInstance() {
    LiveQueues* known = instance.load(std::memory_order_acquire);
    if (known != nullptr) return *known;
    auto made = std::make_unique<LiveQueues>();
    if (!instance.compare_exchange_strong(known, made.get())) return *known;
    // A forked process has none of these workers, and must not find the list locked.
    pthread_atfork([] { getInstance().mutex_.lock(); }, [] { getInstance().mutex_.unlock(); },
                   [] {
                     getInstance().queues_.clear();
                     getInstance().mutex_.unlock();
                   });
    return *made.release();
  }

  /// Registers the exit handler that has the queued tasks run. Called with the first thread, so
  /// after the libraries loaded by then have registered theirs. Handlers run in reverse order:
  /// tasks run before the objects that they use are destroyed.
  void watchExit() {
    if (!watches_exit_.exchange(true)) std::atexit([] { getInstance().runPending(); });
  }

  void add(std::shared_ptr<TaskQueue> queue) {
    std::lock_guard lock(mutex_);
    queues_.push_back(std::move(queue));
  }

  /// False if it was removed before.
  bool remove(const std::shared_ptr<TaskQueue>& queue) {
    std::lock_guard lock(mutex_);
    const auto found = std::find(queues_.begin(), queues_.end(), queue);
    if (found == queues_.end()) return false;
    queues_.erase(found);
    return true;
  }

  /// True once the process has begun to exit.
  bool isExiting() const { return exiting_; }

  /// Calls `wait` with the deadline of process exit, and subtracts the time that it takes from the
  /// rest. Each wait of another thread gets the whole time, because it does not delay the exit.
  template <typename Wait>
  auto waitDuringExit(Wait wait) {
    using std::chrono::steady_clock;
    const auto begin = steady_clock::now();
    if (std::this_thread::get_id() != exiting_thread_) return wait(begin + kExitPatience);
    const auto result = wait(begin + patience_);
    patience_ -= steady_clock::now() - begin;
    return result;
  }

 private:
  void runPending() {
    std::vector<std::shared_ptr<TaskQueue>> queues;
    {
      std::lock_guard lock(mutex_);
      queues = queues_;
    }
    exiting_thread_ = std::this_thread::get_id();
    exiting_ = true;
    for (const auto& queue : queues) queue->beginExit();
    const size_t all = queues.size();
    const size_t given_up = waitDuringExit([&](auto deadline) {
      const size_t left = runPending(queues, deadline);
      if (queues.size() < all) return left;
      // Tasks of one worker may have posted further ones to another.
      return runPending(queues, deadline);
    });
    if (queues.size() < all) logGivenUp(given_up);
  }

  /// Runs what is queued now. Removes the queues that do not get through until `deadline`, and
  /// returns how many tasks they hold.
  static size_t runPending(std::vector<std::shared_ptr<TaskQueue>>& queues,
                           std::chrono::steady_clock::time_point deadline) {
    std::vector<std::shared_ptr<internal::Semaphore>> markers;
    markers.reserve(queues.size());
    // All at first, so that a worker that hangs takes no time from the others.
    for (const auto& queue : queues) markers.push_back(queue->markPending());
    size_t given_up = 0;
    std::vector<std::shared_ptr<TaskQueue>> through;
    through.reserve(queues.size());
    for (size_t i = 0; i < queues.size(); ++i) {
      if (const auto left = queues[i]->runPending(markers[i], deadline)) {
        given_up += *left;
        // It is too late for further tasks: callers would wait for nothing.
        queues[i]->close();
        getInstance().remove(queues[i]);
      } else {
        through.push_back(queues[i]);
      }
    }
    queues = std::move(through);
    return given_up;
  }

  /// Never destroyed: workers may end after static destructors have run. Not a static variable of a
  /// function: that has a lock, which a forked process may inherit locked.
  static inline std::atomic<LiveQueues*> instance{nullptr};

  std::mutex mutex_;
  std::vector<std::shared_ptr<TaskQueue>> queues_;  // guarded by mutex_
  std::atomic<bool> watches_exit_{false};
  std::atomic<bool> exiting_{false};
  std::thread::id exiting_thread_;                                // constant once exiting_ is set
  std::chrono::steady_clock::duration patience_ = kExitPatience;  // used by that thread only
};

// Made when the library is loaded, or before, by the constructor of a static object.
[[maybe_unused]] const LiveQueues& made_at_load = LiveQueues::getInstance();

void* runWorker(void* argument) {
  const std::unique_ptr<std::shared_ptr<TaskQueue>> queue(
      static_cast<std::shared_ptr<TaskQueue>*>(argument));
  (*queue)->run();
  LiveQueues::getInstance().remove(*queue);
  return nullptr;
}

/// Every signal but those that report a fault of the running thread itself.
sigset_t asynchronousSignals() {
  sigset_t signals;
  sigfillset(&signals);
  for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) {
    sigdelset(&signals, fault);
  }
  return signals;
}

/// Starts a worker that takes no signals: they are for the threads of the program, which may have
/// blocked them on purpose, and a log that has lost its reader must not end the process.
pthread_t startWorker(const std::shared_ptr<TaskQueue>& queue) {
  LiveQueues::getInstance().watchExit();
  const sigset_t blocked = asynchronousSignals();
  sigset_t before;
  pthread_sigmask(SIG_SETMASK, &blocked, &before);
  pthread_t worker{};
  const int error = pthread_create(&worker, nullptr, runWorker, new std::shared_ptr(queue));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (error != 0) {
    __android_log_assert("pthread_create", kLogTag, "Cannot start a worker thread: %s",
                         std::strerror(error));
  }
  LiveQueues::getInstance().add(queue);
  return worker;
}

}  // namespace

TaskRunnerThread::TaskRunnerThread(std::chrono::milliseconds start_limit)
    : queue_(std::make_shared<TaskQueue>(start_limit)), worker_(startWorker(queue_)) {}

TaskRunnerThread::~TaskRunnerThread() {
  queue_->close();
  // A forked process has no worker. Its own threads may have the identifier of the parent's.
  if (!queue_->hasWorker()) return;
  // A worker cannot join itself.
  bool joins = !queue_->isRunningOnCurrentThread();
  LiveQueues& queues = LiveQueues::getInstance();
  if (joins && queues.isExiting()) {
    joins = queues.waitDuringExit([this](auto deadline) { return queue_->waitForEnd(deadline); });
    if (!joins && queues.remove(queue_)) logGivenUp(queue_->size());
  }
  if (joins) {
    pthread_join(worker_, nullptr);
  } else {
    pthread_detach(worker_);
  }
}

TaskRunner::TaskRunner(std::weak_ptr<TaskRunnerThread> thread) : thread_(std::move(thread)) {
  if (const auto owner = thread_.lock()) queue_ = owner->queue_;
}

TaskRunner::~TaskRunner() = default;

void TaskRunner::postTask(std::function<void()> task) {
  requireTask(task);
  if (queue_ != nullptr) queue_->post(std::move(task));
}

KivStatus TaskRunner::postTaskAndWait(std::function<void()> task) {
  requireTask(task);
  return queue_ != nullptr ? queue_->postAndWait(std::move(task)) : KivStatus(DEAD_OBJECT);
}

bool TaskRunner::isRunningOnCurrentThread() const {
  return queue_ != nullptr && queue_->isRunningOnCurrentThread();
}

// Clients were built against this layout: loggers hold a runner by value. A shared or weak pointer
// is two pointers in every standard library. The warning is about offsets in classes with virtual
// operations, which our compilers do know.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct TaskRunnerLayout {
  static_assert(offsetof(TaskRunner, thread_) == 1 * sizeof(void*));
  static_assert(offsetof(TaskRunner, queue_) == 3 * sizeof(void*));
  static_assert(sizeof(TaskRunner) == 5 * sizeof(void*));
};
#pragma GCC diagnostic pop

}  // namespace android::kiv
