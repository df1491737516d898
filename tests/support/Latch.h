/// A gate that blocks threads until it is opened.
#pragma once

#include <condition_variable>
#include <mutex>

namespace kiv_test {

class Latch {
 public:
  /// Opens after `count` calls of `countDown`.
  explicit Latch(int count = 1) : count_(count) {}

  void countDown() {
    std::lock_guard lock(mutex_);
    --count_;
    // Notifies under the lock: the waiting thread may destroy the latch as soon as it wakes.
    if (count_ <= 0) opened_.notify_all();
  }

  void wait() {
    std::unique_lock lock(mutex_);
    opened_.wait(lock, [this] { return count_ <= 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable opened_;
  int count_;
};

}  // namespace kiv_test
