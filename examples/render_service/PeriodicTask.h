/// Calling a function at regular intervals, on a thread of its own.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace render_service {

/// Calls `task` once per period until it is destroyed. The destructor waits for a call that is
/// running, but not for the end of the period.
class PeriodicTask {
 public:
  PeriodicTask(std::chrono::milliseconds period, std::function<void()> task);
  ~PeriodicTask();

  PeriodicTask(const PeriodicTask&) = delete;
  PeriodicTask& operator=(const PeriodicTask&) = delete;

 private:
  void run();

  const std::chrono::milliseconds period_;
  const std::function<void()> task_;

  std::mutex mutex_;
  std::condition_variable ending_changed_;
  bool ending_ = false;  // guarded by mutex_

  std::thread thread_;  // last, because it uses all of the above
};

}  // namespace render_service
