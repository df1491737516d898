#include "services/kiv/telemetry/vocabulary/KivFatalCheck.h"

#include <android/log.h>

#include <string>

namespace android::kiv::internal {

KivFatalLogMessage::~KivFatalLogMessage() {
  if (!condition_) return;
  const std::string text = stream_ != nullptr ? stream_->str() : std::string();
  __android_log_assert("condition_", nullptr, "[%s:%d] %s", file_, line_, text.c_str());
}

KivFatalLogMessage& KivFatalLogMessage::operator<<(const char* text) {
  if (stream_ == nullptr) stream_ = std::make_unique<std::ostringstream>();
  *stream_ << text;
  return *this;
}

}  // namespace android::kiv::internal
