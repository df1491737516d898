/// Something that takes reports without keeping its callers, and has a worker see to them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/peers/Report.h"

namespace kiv_bench {

class Reporter {
 public:
  virtual ~Reporter() = default;

  /// One report. Any number of threads at once.
  virtual void report(const Report& report) = 0;

  /// Returns when the worker has seen to all reports that were made before.
  virtual void drain() = 0;
};

/// One whose worker runs any task.
class TaskReporter : public Reporter {
 public:
  /// Has the worker run `task` after all that was posted before.
  virtual void post(std::function<void()> task) = 0;

  void drain() override;
};

std::unique_ptr<TaskReporter> makeLibraryReporter();
std::unique_ptr<Reporter> makeSpdlogReporter();
std::unique_ptr<TaskReporter> makeAsioReporter();
std::unique_ptr<TaskReporter> makePlainQueueReporter();

struct ReporterKind {
  std::string name;
  std::function<std::unique_ptr<Reporter>()> make;
};

/// The library first.
const std::vector<ReporterKind>& reporterKinds();

struct TaskReporterKind {
  std::string name;
  std::function<std::unique_ptr<TaskReporter>()> make;
};

/// The library first.
const std::vector<TaskReporterKind>& taskReporterKinds();

}  // namespace kiv_bench
