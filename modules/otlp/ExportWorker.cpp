#include "ExportWorker.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <random>
#include <system_error>
#include <thread>
#include <utility>

#include "Endpoint.h"

namespace TAMSA::otlp {

namespace {

/// Signals are for the process's own threads: one that starts while this lives takes none.
class AllSignalsBlocked {
 public:
  AllSignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous_);
  }
  ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

  AllSignalsBlocked(const AllSignalsBlocked&) = delete;
  AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

 private:
  sigset_t previous_{};
};

Exporter::Chance makeChance(pid_t process) {
  // Processes that start together must not try together.
  const auto time = std::chrono::steady_clock::now().time_since_epoch().count();
  std::seed_seq seed{static_cast<int64_t>(time), static_cast<int64_t>(process)};
  return [engine = std::minstd_rand(seed)]() mutable {
    return std::uniform_real_distribution<>()(engine);
  };
}

std::chrono::milliseconds timeForTheEnd(const OtlpConfig& config) {
  return std::min(config.export_timeout.value_or(ExportWorker::kLongestRush),
                  ExportWorker::kLongestRush);
}

}  // namespace

ExportWorker::ExportWorker(const OtlpConfig& config)
    : process_(getpid()),
      max_batch_size_(config.max_batch_size),
      log_(withoutSecrets(config.url)),
      transport_(config),
      exporter_(config, transport_, *this, log_, makeChance(process_)),
      queue_(config.max_queue_size, config.max_batch_size, config.schedule_delay),
      time_left_(timeForTheEnd(config)) {}

bool ExportWorker::report(LogRecord record) {
  std::unique_lock lock(mutex_);
  const bool has_thread = startThread();
  if (!has_thread || !queue_.push(std::move(record), now())) {
    lock.unlock();
    exporter_.countDropped(1, has_thread ? "the queue is full" : "no thread could be started");
    return false;
  }
  // What lies between does not change when the thread has to wake.
  if (queue_.size() == 1 || queue_.size() == max_batch_size_) work_changed_.notify_one();
  return !is_finished_ || rushForTheLastTime(lock);
}

void ExportWorker::hurry() {
  std::unique_lock lock(mutex_);
  is_ending_ = true;
  work_changed_.notify_one();
  rush(lock);
  lock.unlock();
  log_.tellDropped();
}

void ExportWorker::finish() {
  std::unique_lock lock(mutex_);
  is_ending_ = true;
  is_finished_ = true;
  rushForTheLastTime(lock);
}

/// False if not all could be sent.
bool ExportWorker::rushForTheLastTime(std::unique_lock<std::mutex>& lock) {
  rush(lock);
  const size_t rest = queue_.clear();
  settled_ += rest;
  lock.unlock();
  if (rest > 0) exporter_.countDropped(rest, "the process ended first");
  log_.tellDropped();
  return rest == 0;
}

/// Has the thread settle what is in the queue by now, in what is left of the time for that.
void ExportWorker::rush(std::unique_lock<std::mutex>& lock) {
  const uint64_t target = queue_.pushed();
  const auto is_settled = [&] { return settled_ >= target; };
  if (is_settled()) return;

  const TimePoint begin = now();
  const TimePoint end = begin + time_left_;
  // The thread gives up a little earlier, so that it can tell what it dropped.
  constexpr int kMargin = 10;
  rush_end_ = end - time_left_ / kMargin;
  ++rushes_;
  work_changed_.notify_one();
  transport_.wake();
  settled_changed_.wait_until(lock, end, is_settled);
  rush_end_ = TimePoint::max();
  time_left_ = std::max(end - now(), std::chrono::steady_clock::duration::zero());
}

bool ExportWorker::startThread() {
  if (has_thread_) return true;
  const AllSignalsBlocked signals;
  try {
    std::thread thread([this] { run(); });
    pthread_setname_np(thread.native_handle(), "otlp-export");
    thread.detach();
    has_thread_ = true;
  } catch (const std::system_error&) {
    // Another time, perhaps.
  }
  return has_thread_;
}

void ExportWorker::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    waitUntilDue(lock);
    const std::vector<LogRecord> batch = queue_.takeBatch();
    lock.unlock();
    exporter_.send(batch);
    lock.lock();
    settled_ += batch.size();
    settled_changed_.notify_all();
  }
}

void ExportWorker::waitUntilDue(std::unique_lock<std::mutex>& lock) {
  for (;;) {
    const auto due = queue_.dueAt();
    if (!due) {
      work_changed_.wait(lock);
    } else if (is_ending_ || *due <= now()) {
      return;
    } else {
      work_changed_.wait_until(lock, *due);
    }
  }
}

TimePoint ExportWorker::now() const { return std::chrono::steady_clock::now(); }

unsigned ExportWorker::rushes() const {
  const std::lock_guard lock(mutex_);
  return rushes_;
}

TimePoint ExportWorker::rushEnd() const {
  const std::lock_guard lock(mutex_);
  return rush_end_;
}

void ExportWorker::sleepUntil(TimePoint when, unsigned known_rushes) {
  std::unique_lock lock(mutex_);
  work_changed_.wait_until(lock, when, [&] { return rushes_ != known_rushes; });
}

}  // namespace TAMSA::otlp
