#include "ExportLog.h"

#include <android/log.h>

#include <cinttypes>

namespace TAMSA::otlp {

namespace {

constexpr char kTag[] = "TamsaOtlp";

}  // namespace

void ExportLog::warn(const std::string& text) {
  __android_log_print(ANDROID_LOG_WARN, kTag, "%s", text.c_str());
}

void ExportLog::failed(const std::string& reason) {
  const std::lock_guard lock(mutex_);
  if (is_failing_) return;
  is_failing_ = true;
  __android_log_print(ANDROID_LOG_WARN, kTag, "cannot deliver to %s: %s", destination_.c_str(),
                      reason.c_str());
}

void ExportLog::delivered() {
  const std::lock_guard lock(mutex_);
  if (!is_failing_) return;
  is_failing_ = false;
  __android_log_print(ANDROID_LOG_INFO, kTag, "delivering to %s again", destination_.c_str());
}

void ExportLog::advised(const std::string& reason) {
  const std::lock_guard lock(mutex_);
  if (reason == last_advice_) return;
  last_advice_ = reason;
  __android_log_print(ANDROID_LOG_WARN, kTag, "%s says: %s", destination_.c_str(), reason.c_str());
}

void ExportLog::dropped(uint64_t events, const std::string& reason, TimePoint now) {
  const std::lock_guard lock(mutex_);
  untold_ += events;
  dropped_in_all_ += events;
  reason_ = reason;
  if (now < next_drop_line_) return;
  next_drop_line_ = now + kBetweenDropLines;
  tellDroppedLocked();
}

void ExportLog::tellDropped() {
  const std::lock_guard lock(mutex_);
  tellDroppedLocked();
}

void ExportLog::tellDroppedLocked() {
  if (untold_ == 0) return;
  __android_log_print(ANDROID_LOG_ERROR, kTag, "dropped %" PRIu64 " events, %" PRIu64 " in all: %s",
                      untold_, dropped_in_all_, reason_.c_str());
  untold_ = 0;
}

}  // namespace TAMSA::otlp
