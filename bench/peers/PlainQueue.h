/// The queue that everybody writes first: a mutex, a condition and a deque of functions.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace kiv_bench {

class PlainQueue {
 public:
  PlainQueue() : worker_([this] { run(); }) {}

  ~PlainQueue() {
    post(nullptr);
    worker_.join();
  }

  PlainQueue(const PlainQueue&) = delete;
  PlainQueue& operator=(const PlainQueue&) = delete;

  /// Runs what was posted before, then `task`; an empty one ends the worker.
  void post(std::function<void()> task) {
    {
      std::lock_guard lock(mutex_);
      tasks_.push_back(std::move(task));
    }
    posted_.notify_one();
  }

 private:
  void run() {
    for (;;) {
      std::unique_lock lock(mutex_);
      posted_.wait(lock, [this] { return !tasks_.empty(); });
      const std::function<void()> task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      if (!task) return;
      task();
    }
  }

  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> tasks_;
  std::thread worker_;
};

}  // namespace kiv_bench
