/// The thread that sends a process's events.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "ExportLog.h"
#include "ExportQueue.h"
#include "Exporter.h"
#include "HttpTransport.h"
#include "OtlpConfig.h"
#include "Transport.h"

namespace TAMSA::otlp {

/// Never destroyed: its thread runs until the process ends. Any thread may use it.
class ExportWorker final : private Timing {
 public:
  /// For how long the process's end may be held up, in all.
  static constexpr std::chrono::milliseconds kLongestRush{2'000};

  /// The thread starts with the first report.
  explicit ExportWorker(const OtlpConfig& config);
  ~ExportWorker() = delete;

  ExportWorker(const ExportWorker&) = delete;
  ExportWorker& operator=(const ExportWorker&) = delete;

  /// Puts a record into the queue; false, and the record is lost, if that is full. Waits for the
  /// network only after `finish`. Throws only for want of memory.
  bool report(LogRecord record);

  /// The process begins to end: waits until what has been reported so far is sent or dropped, but
  /// no longer than is left of the time for that. Later reports are sent without delay.
  void hurry();

  /// As `hurry`, for the last time: nothing of ours runs later but reports, so these wait now.
  void finish();

  /// The process it was made in; a fork has no such thread.
  pid_t process() const { return process_; }

 private:
  TimePoint now() const override;
  unsigned rushes() const override;
  TimePoint rushEnd() const override;
  void sleepUntil(TimePoint when, unsigned known_rushes) override;

  bool startThread();
  void run();
  void waitUntilDue(std::unique_lock<std::mutex>& lock);
  bool rushForTheLastTime(std::unique_lock<std::mutex>& lock);
  void rush(std::unique_lock<std::mutex>& lock);

  const pid_t process_;
  const size_t max_batch_size_;

  // Synchronise themselves.
  ExportLog log_;
  HttpTransport transport_;
  Exporter exporter_;

  mutable std::mutex mutex_;
  std::condition_variable work_changed_;
  std::condition_variable settled_changed_;

  // Guarded by the mutex.
  ExportQueue queue_;
  uint64_t settled_ = 0;  ///< Records that were sent or dropped, of those that were pushed.
  bool has_thread_ = false;
  bool is_ending_ = false;
  bool is_finished_ = false;
  unsigned rushes_ = 0;
  TimePoint rush_end_ = TimePoint::max();
  std::chrono::steady_clock::duration time_left_;  ///< To hold up the process's end.
};

}  // namespace TAMSA::otlp
