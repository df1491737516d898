#include "PeriodicTask.h"

#include <utility>

namespace render_service {

PeriodicTask::PeriodicTask(std::chrono::milliseconds period, std::function<void()> task)
    : period_(period), task_(std::move(task)), thread_([this] { run(); }) {}

PeriodicTask::~PeriodicTask() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ending_ = true;
  }
  ending_changed_.notify_one();
  thread_.join();
}

void PeriodicTask::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!ending_changed_.wait_for(lock, period_, [this] { return ending_; })) {
    lock.unlock();
    task_();
    lock.lock();
  }
}

}  // namespace render_service
