/// Keeps a worker busy until it is released.
#pragma once

#include <memory>

#include "kiv/TaskRunner.h"
#include "tests/support/Latch.h"

namespace kiv_test {

/// Posts a task that runs until `release()` or the destructor is called.
class WorkerHold {
 public:
  explicit WorkerHold(android::kiv::TaskRunner& runner) {
    runner.postTask([released = released_] { released->wait(); });
  }
  ~WorkerHold() { release(); }

  WorkerHold(const WorkerHold&) = delete;
  WorkerHold& operator=(const WorkerHold&) = delete;

  void release() { released_->countDown(); }

 private:
  // Shared with the task, which may start only after this object is destroyed.
  const std::shared_ptr<Latch> released_ = std::make_shared<Latch>();
};

}  // namespace kiv_test
