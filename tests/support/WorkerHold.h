/// Keeps a worker busy until told otherwise.
#pragma once

#include <memory>

#include "kiv/TaskRunner.h"
#include "tests/support/Latch.h"

namespace kiv_test {

/// Posts a task that runs until `release()` or the hold's end.
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
  // Shared with the task, which may get to wait only after the hold is gone.
  const std::shared_ptr<Latch> released_ = std::make_shared<Latch>();
};

}  // namespace kiv_test
