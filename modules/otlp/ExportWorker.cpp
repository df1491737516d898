#include "modules/otlp/ExportWorker.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <exception>
#include <random>
#include <system_error>
#include <thread>
#include <utility>

#include "modules/otlp/Endpoint.h"
#include "modules/otlp/LogRecord.h"

namespace TAMSA::otlp {

namespace {

using support::LossCause;
using support::LossCount;
using support::LossTable;
using Clock = std::chrono::steady_clock;

/// Scope guard: a thread that starts during its life receives no signals, which are for the
/// process's own threads, but those that report a fault of the thread itself.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t blocked;
    sigfillset(&blocked);
    for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) {
      sigdelset(&blocked, fault);
    }
    pthread_sigmask(SIG_SETMASK, &blocked, &previous_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t previous_{};
};

Exporter::Jitter makeJitter(pid_t process) {
  // Processes that start together must not retry together.
  const auto time = Clock::now().time_since_epoch().count();
  std::seed_seq seed{static_cast<int64_t>(time), static_cast<int64_t>(process)};
  return [engine = std::minstd_rand(seed)]() mutable {
    return std::uniform_real_distribution<>()(engine);
  };
}

std::chrono::milliseconds flushTime(const OtlpConfig& config) {
  return std::min(config.export_timeout.value_or(ExportWorker::kLongestFlush),
                  ExportWorker::kLongestFlush);
}

Clock::time_point after(Clock::time_point begin, const TimeLimit& limit) {
  return limit ? begin + *limit : Clock::time_point::max();
}

}  // namespace

ExportWorker::ExportWorker(const OtlpConfig& config)
    : process_(getpid()),
      encoder_(makeEncoder(config.protocol, config.resource)),
      request_timeout_(config.request_timeout),
      export_timeout_(config.export_timeout),
      max_batch_size_(config.max_batch_size),
      log_(withoutSecrets(config.url)),
      transport_(config, encoder_->contentType()),
      exporter_(config, *encoder_, makeJitter(process_)),
      time_left_(flushTime(config)) {}

void ExportWorker::report(const support::Event& event, uint64_t source) {
  const uint64_t reports = support::reportCount(event.fields());
  std::string encoded = encoder_->encodeRecord(
      makeEventRecord(event.name(), event.fields(), std::chrono::system_clock::now()));
  const int64_t window_end = support::integerField(event.fields(), "end_time_since_epoch", 0);

  std::unique_lock lock(mutex_);
  std::optional<LossCause> cause = LossCause{"no thread could be started"};
  if (startThread()) {
    cause = exporter_.add({std::move(encoded), reports, source, window_end}, Clock::now());
  }
  if (cause) {
    const LossCount lost{1, reports};
    exporter_.addLoss(*cause, lost);
    lock.unlock();
    LossTable losses;
    losses.add(*cause, lost);
    log_.lost(losses, Clock::now());
    return;
  }
  // Records in between do not change when the thread has to wake.
  if (exporter_.queued() == 1 || exporter_.queued() == max_batch_size_) work_changed_.notify_one();
  if (is_finished_) {
    flush(lock);
    loseRest(lock);
  }
}

void ExportWorker::flushOrLose() {
  std::unique_lock lock(mutex_);
  exporter_.beginEnd();
  // The second attempt does not wait for the delay after a failure.
  const bool is_flushed = flush(lock) || flush(lock);
  if (!is_flushed) {
    loseRest(lock);
    return;
  }
  // Other threads may have reported meanwhile, and there is time left for their events.
  lock.unlock();
  log_.logPendingLosses();
}

void ExportWorker::finish() {
  std::unique_lock lock(mutex_);
  exporter_.beginEnd();
  is_finished_ = true;
  flush(lock);
  loseRest(lock);
}

void ExportWorker::loseRest(std::unique_lock<std::mutex>& lock) {
  const uint64_t settled_before = exporter_.settled();
  const LossTable losses = exporter_.abandon();
  settled_ += exporter_.settled() - settled_before;
  lock.unlock();
  log_.lost(losses, Clock::now());
  log_.logPendingLosses();
}

bool ExportWorker::flush(std::unique_lock<std::mutex>& lock) {
  if (!has_thread_) return true;
  const uint64_t target = exporter_.added();
  const TimePoint end = Clock::now() + time_left_;
  // Requests end a little earlier, so that their events can be counted as lost.
  constexpr int kMargin = 10;
  flush_deadline_ = end - time_left_ / kMargin;
  exporter_.endBackoff();
  work_changed_.notify_one();
  transport_.wake();
  request_ended_.wait_until(lock, end, [&] {
    if (settled_ >= target && !exporter_.mustSendLosses()) return true;
    if (exporter_.isRequestUnderWay()) return false;
    const auto next = exporter_.nextAttempt();
    return next && *next >= flush_deadline_;
  });
  flush_deadline_ = TimePoint::max();
  time_left_ = std::max(end - Clock::now(), Clock::duration::zero());
  work_changed_.notify_one();
  return settled_ >= target;
}

bool ExportWorker::startThread() {
  if (has_thread_) return true;
  const SignalsBlocked signals;
  try {
    std::thread thread([this] { run(); });
    pthread_setname_np(thread.native_handle(), "otlp-export");
    thread.detach();
    has_thread_ = true;
  } catch (const std::system_error&) {
    // The next report tries again.
  }
  return has_thread_;
}

void ExportWorker::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    waitForAttempt(lock);
    size_t bytes = 0;
    const Reply reply = sendBatch(lock, bytes);
    const uint64_t settled_before = exporter_.settled();
    const LossTable losses = exporter_.complete(reply, bytes, Clock::now());
    const uint64_t settled = exporter_.settled() - settled_before;
    lock.unlock();
    log_.answered(reply, bytes, Clock::now());
    log_.lost(losses, Clock::now());
    lock.lock();
    // Only now: a flush returns when all is logged, because the process may end then.
    settled_ += settled;
    request_ended_.notify_all();
  }
}

/// Releases the lock while the request is under way.
Reply ExportWorker::sendBatch(std::unique_lock<std::mutex>& lock, size_t& bytes) {
  Reply reply;
  try {
    const Exporter::Request request = exporter_.begin();
    lock.unlock();
    const std::string body = encoder_->encodeRequest(request.records());
    bytes = body.size();
    const TimePoint begin = Clock::now();
    const TimePoint end = std::min(after(begin, request_timeout_), after(begin, export_timeout_));
    reply = transport_.send(body, [&] { return std::min(end, flushDeadline()); });
  } catch (const std::exception& error) {
    reply.verdict = Reply::Verdict::RETRYABLE;
    try {
      reply.cause = error.what();
    } catch (const std::exception&) {
      // No memory for a text either.
    }
  }
  if (!lock.owns_lock()) lock.lock();
  return reply;
}

void ExportWorker::waitForAttempt(std::unique_lock<std::mutex>& lock) {
  for (;;) {
    const auto next = exporter_.nextAttempt();
    const TimePoint now = Clock::now();
    if (!next || now >= flush_deadline_) {
      work_changed_.wait(lock);
    } else if (*next <= now) {
      return;
    } else {
      work_changed_.wait_until(lock, *next);
    }
  }
}

ExportWorker::TimePoint ExportWorker::flushDeadline() const {
  const std::lock_guard lock(mutex_);
  return flush_deadline_;
}

}  // namespace TAMSA::otlp
