/// The queue between those who post tasks and the worker that runs them.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "kiv/KivStatus.h"
#include "services/kiv/common/Semaphore.h"

namespace android::kiv::internal {

/// Shared by the thread's owner, its worker and all handles. Every operation may be called from any
/// thread unless it says otherwise. In a process forked from the one that made it, where there is
/// no worker, a queue takes no tasks, and no call waits for it.
///
/// A post takes no lock: posted tasks are a linked list, newest first, whose head is one atomic
/// word. The worker takes the whole list at once. docs/task-runner.md describes which post wakes
/// the worker.
class TaskQueue {
 public:
  explicit TaskQueue(std::chrono::milliseconds start_limit);
  ~TaskQueue() = default;  // a worker that has ended leaves nothing behind

  TaskQueue(const TaskQueue&) = delete;
  TaskQueue& operator=(const TaskQueue&) = delete;

  // Posted tasks are passed by reference and swapped: some standard libraries copy a small function
  // when it is moved, and its captures would live on in the frames of the caller.

  /// Appends a task; drops it when the queue is closed, or holds kMaxQueued tasks already. The
  /// worker takes it within kLongestLinger if it is free.
  void post(std::function<void()>&& task);

  /// Appends a task and waits for its end, as `TaskRunner::postTaskAndWait` promises.
  KivStatus postAndWait(std::function<void()>&& task);

  /// Refuses tasks from now on. The worker ends once those already queued have run.
  void close();

  /// Appends a marker, for `runPending` to wait for. Null on the worker, and if the queue is
  /// closed.
  std::shared_ptr<Semaphore> markPending();

  /// Waits until every task before the marker has run, or, without a marker, until the worker has
  /// ended, but not beyond `deadline`. On the worker itself, runs what is queued. Returns how many
  /// tasks are still queued if the deadline has passed.
  std::optional<size_t> runPending(const std::shared_ptr<Semaphore>& marker,
                                   std::chrono::steady_clock::time_point deadline);

  /// The number of tasks that are queued now and will run.
  uint32_t size() const;

  /// Waits until `run()` has ended. False if `deadline` passes first.
  bool waitForEnd(std::chrono::steady_clock::time_point deadline);

  /// Called by the thread that ends the process, before it waits for the queue. From now on the
  /// other threads together can post kTasksDuringExit tasks, so that they cannot delay the exit.
  void beginExit();

  /// The worker's whole life. Returns when the queue is closed and empty.
  void run();

  /// True on the thread that is inside `run()`. False on its copy in a forked process.
  bool isRunningOnCurrentThread() const;

  /// False in a forked process. The worker's locks stay locked there.
  bool hasWorker() const;

  /// The limits of the time for which the worker lets tasks gather before it looks again, once it
  /// has run out of them. Only if there are none by then does it sleep until it is woken, which
  /// costs its waker a system call. Each look costs processor time, and a long queue costs cache
  /// misses, so the time is halved or doubled until neither few nor many tasks gather.
  static constexpr std::chrono::microseconds kShortestLinger{500};
  static constexpr std::chrono::microseconds kLongestLinger{4000};

  /// If fewer tasks than this have gathered, the next time is longer.
  static constexpr size_t kFewTasks = 6;

  /// If at least so many tasks have gathered, the next time is shorter.
  static constexpr size_t kManyTasks = 12;

  /// The length of a queue above which a warning is logged, and another one each time that it has
  /// doubled.
  static constexpr uint32_t kFirstMark = 65536;

  /// Tasks beyond this number are dropped, unless a caller waits for them.
  static constexpr uint32_t kMaxQueued = 4194304;

  /// The number of tasks that other threads may post while one ends the process.
  static constexpr unsigned kTasksDuringExit = 10000;

 private:
  struct Task {
    std::function<void()> work;
    Task* next = nullptr;
  };

  /// A task that a caller waits for, shared with that caller.
  struct Waited;

  enum class Urgency { CAN_LINGER, AT_ONCE };

  /// During process exit, false once other threads have posted kTasksDuringExit tasks. The worker
  /// and the exiting thread are exempt.
  bool admitsDuringExit();

  /// The pointer in posted_, without the flags.
  static Task* newestOf(uintptr_t posted);

  /// False when the queue is closed.
  bool append(std::function<void()>&& task, Urgency urgency);

  /// Called for a task at a place in the order of all tasks at which the queue may have outgrown
  /// its mark. False when it has outgrown its capacity.
  [[gnu::noinline]] bool admitsBeyondMark(uint32_t place);

  /// Takes back the count of a task that is dropped. False.
  [[gnu::noinline]] bool drop();

  /// On the worker, when the queue is empty: logs that a queue that had outgrown a mark has
  /// drained.
  void resetMark();

  /// On the worker: moves what has been posted behind what is left of the batch. Returns the flags
  /// that were set in posted_.
  uintptr_t takePosted();

  /// On the worker: runs tasks until the queue is closed and empty.
  void runTasks();

  /// On the worker: runs and releases the first task of the batch.
  void runFirst();

  void runWaited(Waited& waited);

  /// On the worker: how long to linger now.
  std::chrono::microseconds nextLinger();

  const std::chrono::milliseconds start_limit_;
  const unsigned fork_generation_;

  /// The newest posted task, and the flags that TaskQueue.cpp names.
  std::atomic<uintptr_t> posted_{0};

  // Counted with each post, beside the word that a post changes anyway. Counters wrap around: only
  // their differences mean anything.
  std::atomic<uint32_t> accepted_{0};
  std::atomic<uint32_t> check_at_{kFirstMark};  // no queue outgrows its mark before this many
  std::atomic<uint32_t> mark_{kFirstMark};      // the size above which the next line is logged
  std::atomic<uint32_t> dropped_{0};            // since the queue was empty
  std::atomic<uint32_t> withdrawn_{0};          // queued, but their waiters have given them up

  std::atomic<bool> exiting_{false};
  std::atomic<unsigned> posted_during_exit_{0};
  std::thread::id exiting_thread_;  // constant once exiting_ is set

  // Used by the worker only: the tasks that it has taken, oldest first, and whether the last that
  // it ran may have been one of many. If a caller waits for each task, the next one comes later.
  Task* batch_ = nullptr;
  Task* batch_end_ = nullptr;
  std::chrono::microseconds linger_{0};  // the last one; 0 after a sleep
  size_t tasks_since_sleep_ = 0;
  std::atomic<uint32_t> started_{0};  // tasks; written by the worker only
  bool lingers_ = false;

  Semaphore woken_;  // where the worker sleeps

  std::mutex mutex_;
  std::condition_variable ended_changed_;
  bool ended_ = false;  // guarded by mutex_
};

}  // namespace android::kiv::internal
