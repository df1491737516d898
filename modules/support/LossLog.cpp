#include "modules/support/LossLog.h"

#include <android/log.h>

#include <cinttypes>
#include <exception>
#include <string>

namespace TAMSA::support {

void LossLog::add(const LossTable& losses, TimePoint now) noexcept {
  if (losses.isEmpty()) return;
  const std::lock_guard lock(mutex_);
  pending_.add(losses);
  events_in_all_ += losses.total().events;
  if (now < next_line_) return;
  next_line_ = now + kInterval;
  logLocked();
}

void LossLog::logPending() noexcept {
  const std::lock_guard lock(mutex_);
  logLocked();
}

void LossLog::logLocked() noexcept {
  if (pending_.isEmpty()) return;
  const LossCount total = pending_.total();
  std::string causes;
  try {
    for (const auto& [name, entry] : pending_.entries()) {
      causes += causes.empty() ? "" : "; ";
      causes += std::to_string(entry.count.events) + ": " + LossCause{name, entry.detail}.text();
    }
  } catch (const std::exception&) {
    causes.clear();
  }
  __android_log_print(ANDROID_LOG_ERROR, tag_,
                      "lost %" PRIu64 " events (%" PRIu64 " reports), %" PRIu64 " in all: %s",
                      total.events, total.reports, events_in_all_, causes.c_str());
  pending_ = LossTable();
}

}  // namespace TAMSA::support
