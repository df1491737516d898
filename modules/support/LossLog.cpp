#include "modules/support/LossLog.h"

#include <android/log.h>

#include <cinttypes>
#include <exception>
#include <string>
#include <utility>

namespace TAMSA::support {

void LossLog::add(const LossTable& losses, TimePoint now) noexcept {
  std::unique_lock lock(mutex_);
  pending_.add(losses);
  events_in_all_ += losses.total().events;
  if (pending_.isEmpty() || now < next_line_) return;
  next_line_ = now + kInterval;
  logPending(std::move(lock));
}

void LossLog::logPending() noexcept { logPending(std::unique_lock(mutex_)); }

void LossLog::logPending(std::unique_lock<std::mutex> lock) noexcept {
  const LossTable losses = std::exchange(pending_, LossTable());
  const uint64_t events_in_all = events_in_all_;
  // A function of the log may report an event that is lost, too, or exit.
  lock.unlock();
  if (losses.isEmpty()) return;
  const LossCount total = losses.total();
  std::string causes;
  try {
    for (const auto& [name, entry] : losses.entries()) {
      causes += causes.empty() ? "" : "; ";
      causes += std::to_string(entry.count.events) + ": " + LossCause{name, entry.detail}.text();
    }
  } catch (const std::exception&) {
    causes.clear();
  }
  __android_log_print(ANDROID_LOG_ERROR, tag_,
                      "lost %" PRIu64 " events (%" PRIu64 " reports), %" PRIu64 " in all: %s",
                      total.events, total.reports, events_in_all, causes.c_str());
}

}  // namespace TAMSA::support
