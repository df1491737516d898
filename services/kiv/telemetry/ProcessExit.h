/// Bounds the time that process exit waits for the shared worker to submit the last windows.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace android::kiv::internal {

/// The time that process exit waits for the shared worker, in all: while the common library runs
/// queued tasks, and for the last windows.
class ExitBudget {
 public:
  /// Measure how long the exit handlers take that are registered between these two.
  static void registerEnd();
  static void registerBegin();

  /// When waiting that begins now has to end.
  static std::chrono::steady_clock::time_point deadline();

 private:
  static constexpr std::chrono::seconds kBudget{10};
  /// Left to the last windows in any case: other workers than the shared one may have hung.
  static constexpr std::chrono::seconds kRest{1};
};

/// Counts the steps of a task that process exit waits for. Shared by the two.
class ExitProgress {
 public:
  explicit ExitProgress(int steps) : left_(steps) {}

  ExitProgress(const ExitProgress&) = delete;
  ExitProgress& operator=(const ExitProgress&) = delete;

  /// A step has been taken.
  void advance() { --left_; }

  /// No further step will be taken.
  void end();

  /// Waits for `end()`, but not beyond `deadline`.
  void waitForEnd(std::chrono::steady_clock::time_point deadline);

  /// The number of steps that have not been taken.
  int left() const { return left_; }

 private:
  std::atomic<int> left_;
  std::mutex mutex_;
  std::condition_variable ended_changed_;
  bool ended_ = false;  // guarded by mutex_
};

}  // namespace android::kiv::internal
