#include "modules/otlp/ExportLog.h"

#include <android/log.h>

#include <exception>

namespace TAMSA::otlp {

void ExportLog::warn(const std::string& text) {
  __android_log_print(ANDROID_LOG_WARN, kTag, "%s", text.c_str());
}

void ExportLog::error(const std::string& text) {
  __android_log_print(ANDROID_LOG_ERROR, kTag, "%s", text.c_str());
}

void ExportLog::answered(const Reply& reply, size_t bytes, TimePoint now) noexcept {
  const std::lock_guard lock(mutex_);
  try {
    log(reply, bytes, now);
  } catch (const std::exception&) {
    // Memory is short: a later reply is logged instead.
  }
}

void ExportLog::log(const Reply& reply, size_t bytes, TimePoint now) {
  switch (reply.verdict) {
    case Reply::Verdict::DELIVERED:
      delivered();
      if (reply.rejected == 0 && !reply.detail.empty()) advised("says: " + reply.detail, now);
      break;
    case Reply::Verdict::TOO_LARGE:
      advised("refuses a request of " + std::to_string(bytes) +
                  " bytes as too large: " + reply.reason(),
              now);
      break;
    case Reply::Verdict::RETRYABLE:
    case Reply::Verdict::REFUSED:
      failed(reply.reason(), now);
      break;
  }
}

void ExportLog::failed(const std::string& reason, TimePoint now) {
  if (is_failure_logged_ || now < next_failure_) return;
  is_failure_logged_ = true;
  next_failure_ = now + kInterval;
  __android_log_print(ANDROID_LOG_WARN, kTag, "cannot deliver to %s: %s", destination_.c_str(),
                      reason.c_str());
}

void ExportLog::delivered() {
  if (!is_failure_logged_) return;
  is_failure_logged_ = false;
  __android_log_print(ANDROID_LOG_INFO, kTag, "delivering to %s again", destination_.c_str());
}

void ExportLog::advised(const std::string& advice, TimePoint now) {
  if (now < next_advice_) return;
  next_advice_ = now + kInterval;
  __android_log_print(ANDROID_LOG_WARN, kTag, "%s %s", destination_.c_str(), advice.c_str());
}

}  // namespace TAMSA::otlp
