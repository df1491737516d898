#include "kiv/TaskRunner.h"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "services/kiv/common/TaskQueue.h"

namespace android::kiv {

namespace {

using internal::TaskQueue;

/// The queues whose worker has not ended, so that what they hold can be run at process exit.
class LiveQueues {
 public:
  static LiveQueues& getInstance() {
    // Leaked on purpose: workers may end after static destructors have run.
    static LiveQueues& instance = *new LiveQueues;
    return instance;
  }

  void add(std::shared_ptr<TaskQueue> queue) {
    std::lock_guard lock(mutex_);
    queues_.push_back(std::move(queue));
  }

  void remove(const std::shared_ptr<TaskQueue>& queue) {
    std::lock_guard lock(mutex_);
    queues_.erase(std::remove(queues_.begin(), queues_.end(), queue), queues_.end());
  }

  void runPending() {
    std::vector<std::shared_ptr<TaskQueue>> queues;
    {
      std::lock_guard lock(mutex_);
      queues = queues_;
    }
    for (const auto& queue : queues) queue->beginExit();
    for (const auto& queue : queues) queue->runPending();
  }

 private:
  LiveQueues() {
    // Registered with the first thread, so after the exit handlers of every library that was loaded
    // by then: what is still queued runs before the objects that it needs are destroyed.
    std::atexit([] { getInstance().runPending(); });
    // A forked process has none of these workers, and must not find the list locked.
    pthread_atfork([] { getInstance().mutex_.lock(); }, [] { getInstance().mutex_.unlock(); },
                   [] {
                     getInstance().queues_.clear();
                     getInstance().mutex_.unlock();
                   });
  }

  std::mutex mutex_;
  std::vector<std::shared_ptr<TaskQueue>> queues_;  // guarded by mutex_
};

std::thread startWorker(const std::shared_ptr<TaskQueue>& queue) {
  LiveQueues::getInstance().add(queue);
  return std::thread([queue] {
    queue->run();
    LiveQueues::getInstance().remove(queue);
  });
}

}  // namespace

TaskRunnerThread::TaskRunnerThread(std::chrono::milliseconds start_limit)
    : queue_(std::make_shared<TaskQueue>(start_limit)), worker_(startWorker(queue_)) {}

TaskRunnerThread::~TaskRunnerThread() {
  queue_->close();
  // A worker cannot join itself, and a forked process has no worker to join.
  if (queue_->isRunningOnCurrentThread() || !queue_->hasWorker()) {
    worker_.detach();
  } else {
    worker_.join();
  }
}

TaskRunner::TaskRunner(std::weak_ptr<TaskRunnerThread> thread) : thread_(std::move(thread)) {
  if (const auto owner = thread_.lock()) queue_ = owner->queue_;
}

TaskRunner::~TaskRunner() = default;

void TaskRunner::postTask(std::function<void()> task) {
  if (queue_ != nullptr) queue_->post(std::move(task));
}

KivStatus TaskRunner::postTaskAndWait(std::function<void()> task) {
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
