/// The queue between those who post tasks and the worker that runs them.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <optional>

#include "kiv/KivStatus.h"

namespace android::kiv::internal {

/// Shared by the thread's owner, its worker and all handles. Every operation may be called from any
/// thread unless it says otherwise. In a process forked from the one that made it, where there is
/// no worker, a queue takes no tasks and is waited for by nobody.
class TaskQueue {
 public:
  explicit TaskQueue(std::chrono::milliseconds start_limit);

  /// Appends a task; drops it when the queue is closed.
  void post(std::function<void()> task);

  /// Appends a task and waits for its end, as `TaskRunner::postTaskAndWait` promises.
  KivStatus postAndWait(std::function<void()> task);

  /// Refuses tasks from now on. The worker ends once those already queued have run.
  void close();

  /// Returns when every task that is queued now has run; on the worker itself, runs them here.
  void runPending();

  /// The worker's whole life. Returns when the queue is closed and empty.
  void run();

  /// True on the thread that is inside `run()`.
  bool isRunningOnCurrentThread() const;

  /// False in a forked process. What the worker held at that moment stays locked there for ever.
  bool hasWorker() const;

 private:
  /// Stands on the stack of a waiting caller; its fields are guarded by mutex_.
  struct Waiter {
    enum class State { QUEUED, STARTED, FINISHED };
    State state = State::QUEUED;
    std::condition_variable finished;
  };

  struct Task {
    std::function<void()> work;
    Waiter* waiter;
  };

  using Tasks = std::list<Task>;

  KivStatus postAndWait(std::function<void()> task,
                        std::optional<std::chrono::milliseconds> start_limit);

  /// Takes over the one task in `task`, so that no allocation happens under the lock. False, and
  /// `task` untouched, when the queue is closed.
  bool append(Tasks& task);

  /// Runs the first task. `lock` holds mutex_ before and after, and not while the task runs.
  void runNext(std::unique_lock<std::mutex>& lock);

  const std::chrono::milliseconds start_limit_;
  const unsigned fork_generation_;

  std::mutex mutex_;
  std::condition_variable posted_or_closed_;
  std::condition_variable ended_changed_;
  Tasks tasks_;          // guarded by mutex_
  bool closed_ = false;  // guarded by mutex_
  bool ended_ = false;   // guarded by mutex_
};

}  // namespace android::kiv::internal
