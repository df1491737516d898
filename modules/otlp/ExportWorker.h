/// The thread that sends a process's events.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "modules/otlp/Encoder.h"
#include "modules/otlp/ExportLog.h"
#include "modules/otlp/Exporter.h"
#include "modules/otlp/HttpTransport.h"
#include "modules/otlp/OtlpConfig.h"
#include "modules/support/Event.h"

namespace TAMSA::otlp {

/// Never destroyed: its thread runs until the process ends. Any thread may use it.
class ExportWorker final {
 public:
  /// The longest time that the process's end may be delayed, in all.
  static constexpr std::chrono::milliseconds kLongestFlush{2'000};

  /// The thread starts with the first report.
  explicit ExportWorker(const OtlpConfig& config);
  ~ExportWorker() = delete;

  ExportWorker(const ExportWorker&) = delete;
  ExportWorker& operator=(const ExportWorker&) = delete;

  /// Queues an event of the handler `source`, or counts it as lost. Waits for the network only
  /// after `finish`. Throws only if memory is short.
  void report(const support::Event& event, uint64_t source);

  /// To be called when the process begins to end. Waits until what was reported so far is sent or
  /// cannot be sent in time, at most for the rest of the time that the end may be delayed. If it
  /// cannot be sent in time, counts everything in the queue as lost. Later reports are sent without
  /// delay.
  void flushOrLose();

  /// To be called at the very end of the process: flushes, and counts as lost what is left. Only
  /// reports can follow, and these flush by themselves.
  void finish();

  /// The process it was made in; a fork has no such thread.
  pid_t process() const { return process_; }

 private:
  using TimePoint = std::chrono::steady_clock::time_point;

  bool startThread();
  void run();
  Reply sendBatch(std::unique_lock<std::mutex>& lock, size_t& bytes);
  void waitForAttempt(std::unique_lock<std::mutex>& lock);
  /// False if something of what was reported before is left.
  bool flush(std::unique_lock<std::mutex>& lock);
  /// Releases the lock.
  void loseRest(std::unique_lock<std::mutex>& lock);
  TimePoint flushDeadline() const;

  const pid_t process_;
  const std::unique_ptr<const Encoder> encoder_;
  const TimeLimit request_timeout_;
  const TimeLimit export_timeout_;
  const size_t max_batch_size_;

  // Thread-safe.
  ExportLog log_;
  HttpTransport transport_;

  mutable std::mutex mutex_;
  std::condition_variable work_changed_;
  std::condition_variable request_ended_;

  // Guarded by the mutex.
  Exporter exporter_;
  uint64_t settled_ = 0;  ///< Records that were sent or lost, when that has been logged.
  bool has_thread_ = false;
  bool is_finished_ = false;
  TimePoint flush_deadline_ = TimePoint::max();    ///< Of the flush that is on.
  std::chrono::steady_clock::duration time_left_;  ///< To delay the process's end.
};

}  // namespace TAMSA::otlp
