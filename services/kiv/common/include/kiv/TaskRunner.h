/// One worker thread and the handles through which work is posted to it.
///
/// Guarantees:
///  - Tasks run one at a time on the worker, in the order in which they were posted, and never
///    inside the call that posts them.
///  - A task and everything that it captured are released on the worker right after it ran, before
///    a waiting caller wakes.
///  - A waited task either runs to its end before the wait returns, or never runs.
///  - Any thread may post, hold and drop handles.
#pragma once

#include <pthread.h>

#include <chrono>
#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

#include "kiv/CommonExport.h"
#include "kiv/KivStatus.h"

namespace android::kiv {

namespace internal {
class TaskQueue;
}  // namespace internal

/// Owns a worker thread. Held by shared pointers only; work is posted through a `TaskRunner`.
///
/// Tasks that are queued when the process exits run before the destruction of static objects that
/// were constructed before the first `TaskRunnerThread`. Exit waits nine seconds for them in all;
/// tasks that have not run by then are given up, with a line in the log. Younger static objects are
/// destroyed before that: if they own a thread, its destruction waits without a limit.
///
/// The worker blocks all signals except those that its own faults raise.
class KIV_COMMON_EXPORT TaskRunnerThread : public std::enable_shared_from_this<TaskRunnerThread> {
 public:
  /// Starts a worker. `start_limit` bounds how long a waited task may be queued before it starts;
  /// it does not bound how long a task runs. A negative limit counts as zero. If there is no memory
  /// or no thread, the process ends.
  static std::shared_ptr<TaskRunnerThread> create(std::chrono::milliseconds start_limit) noexcept {
    // In two allocations: handles hold weak references, which would keep a joint one alive.
    // NOLINTNEXTLINE(modernize-make-shared, bugprone-unhandled-exception-at-new)
    return std::shared_ptr<TaskRunnerThread>(new TaskRunnerThread(start_limit));
  }

  /// As `create`, for callers that make the shared pointer themselves.
  explicit TaskRunnerThread(std::chrono::milliseconds start_limit);

  /// Runs what is queued, then ends the worker and waits for it. On the worker itself, where a task
  /// may drop the last reference, it returns at once, and the worker ends when the queue is empty.
  /// Posts through handles fail from the first moment on.
  ~TaskRunnerThread();

  TaskRunnerThread(const TaskRunnerThread&) = delete;
  TaskRunnerThread& operator=(const TaskRunnerThread&) = delete;

 private:
  friend class TaskRunner;

  const std::shared_ptr<internal::TaskQueue> queue_;
  const pthread_t worker_;
};

/// A handle for posting to one `TaskRunnerThread`; copies post to the same one. It does not keep
/// the thread alive, and outlives it harmlessly. The destructor must remain its only virtual
/// function: clients were built against this layout.
class KIV_COMMON_EXPORT TaskRunner {
 public:
  /// Binds to `thread`. A handle bound to no thread, or to one that is gone, fails every post.
  explicit TaskRunner(std::weak_ptr<TaskRunnerThread> thread);
  virtual ~TaskRunner();

  TaskRunner(const TaskRunner&) = default;
  TaskRunner& operator=(const TaskRunner&) = default;
  TaskRunner(TaskRunner&&) = default;
  TaskRunner& operator=(TaskRunner&&) = default;

  /// Queues `task` and returns at once; it allocates memory. The task starts within 4 ms if the
  /// worker is free. The task is dropped if the thread is gone, in a forked child, if 4 194 304
  /// tasks are queued, and after 10 000 posts of other threads during process exit. An empty task
  /// ends the process.
  void postTask(std::function<void()> task);

  /// Queues `task` and waits until it has run. Unless the status is `OK`, the task never runs:
  /// `DEAD_OBJECT` (the thread is gone, this is a forked child, or the process exits), `TIMED_OUT`
  /// (the task did not start within the thread's limit) or `INVALID_OPERATION` (called on the
  /// worker itself, which would deadlock). A task that has started is waited for to its end,
  /// without a limit. An empty task ends the process.
  KivStatus postTaskAndWait(std::function<void()> task);

  /// True on the worker of this handle's thread.
  bool isRunningOnCurrentThread() const;

  /// `postTaskAndWait` for a task with a result. An empty task ends the process.
  template <typename T>
  KivStatusOr<T> postTaskAndWait(std::function<T()> task) noexcept {
    // Ends the process with a line in the log.
    if (!task) postTaskAndWait(std::function<void()>());
    // Shared, so that a wrapper that outlived its waiter would still write to live memory.
    auto result = std::make_shared<T>();
    const KivStatus status = postTaskAndWait(
        std::function<void()>([result, task = std::move(task)] { *result = task(); }));
    return status.ok() ? KivStatusOr<T>(status, std::move(*result)) : KivStatusOr<T>(status);
  }

  /// Posts `object->method(args...)`. The task owns the arguments, converted to the types of the
  /// method's parameters, and shares the object, which therefore lives until the task has run.
  template <typename C, typename... Params, typename... Args>
  void postTask(void (C::*method)(Params...), std::shared_ptr<C> object, Args&&... args) noexcept {
    postTask(bindTask(method, std::move(object), std::forward<Args>(args)...));
  }

  /// Posts `object->method(args...)` as above, and waits as `postTaskAndWait(task)` does.
  template <typename C, typename... Params, typename... Args>
  KivStatus postTaskAndWait(void (C::*method)(Params...), std::shared_ptr<C> object,
                            Args&&... args) noexcept {
    return postTaskAndWait(bindTask(method, std::move(object), std::forward<Args>(args)...));
  }

  /// Posts `object->method(args...)` without keeping `object` alive, waiting for it if `wait` is
  /// true. The owner of the object must keep it alive until the task has run.
  template <typename C, typename... Params, typename... Args>
  void postTask(bool wait, void (C::*method)(Params...), C* object, Args&&... args) noexcept {
    auto task = bindTask(method, object, std::forward<Args>(args)...);
    if (wait) {
      postTaskAndWait(std::move(task));
    } else {
      postTask(std::move(task));
    }
  }

 private:
  friend struct TaskRunnerLayout;

  template <typename C, typename Object, typename... Params, typename... Args>
  static std::function<void()> bindTask(void (C::*method)(Params...), Object object,
                                        Args&&... args) {
    static_assert(sizeof...(Params) == sizeof...(Args), "one argument for each parameter");
    // The parameters' types, not the arguments': a text that was given as a char* may be gone when
    // the task runs.
    return [method, object = std::move(object),
            copies = std::tuple<std::decay_t<Params>...>(std::forward<Args>(args)...)]() mutable {
      std::apply([&](auto&... copy) { ((*object).*method)(copy...); }, copies);
    };
  }

  std::weak_ptr<TaskRunnerThread> thread_;
  // The queue outlives the thread while handles share it, so a post never takes part in owning the
  // thread, and a caller can never be the one who has to join it.
  std::shared_ptr<internal::TaskQueue> queue_;
};

}  // namespace android::kiv
