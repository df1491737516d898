/// A counting semaphore with timed waits.
#pragma once

#include <semaphore.h>

#include <cerrno>
#include <chrono>
#include <ctime>

namespace android::kiv::internal {

/// A counter of signals that have not been waited for yet. One system call wakes a thread, and one
/// puts it to sleep. With a condition variable the woken thread could block again on its mutex.
class Semaphore {
 public:
  Semaphore() { sem_init(&signals_, 0, 0); }
  ~Semaphore() { sem_destroy(&signals_); }

  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  void signal() { sem_post(&signals_); }

  void wait() {
    while (sem_wait(&signals_) != 0) {
      // A signal handler ran.
    }
  }

  /// False when `limit` passes first.
  bool waitFor(std::chrono::nanoseconds limit) {
    return waitUntil(std::chrono::steady_clock::now() + limit);
  }

  /// False when `end` comes first. The steady clock counts from the same moment as the system's
  /// monotonic one.
  bool waitUntil(std::chrono::steady_clock::time_point end) {
    const std::chrono::nanoseconds time = end.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    timespec system_end{};
    system_end.tv_sec = static_cast<time_t>(seconds.count());
    system_end.tv_nsec = static_cast<long>((time - seconds).count());
    while (sem_clockwait(&signals_, CLOCK_MONOTONIC, &system_end) != 0) {
      if (errno == ETIMEDOUT) return false;
    }
    return true;
  }

 private:
  sem_t signals_;
};

}  // namespace android::kiv::internal
