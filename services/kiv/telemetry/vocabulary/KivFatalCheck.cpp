#include "services/kiv/telemetry/vocabulary/KivFatalCheck.h"

#include <android/log.h>

namespace android::kiv::internal {

KivFatalLogMessage::~KivFatalLogMessage() {
  if (!condition_) return;
  __android_log_assert("condition_", nullptr, "[%s:%d] %s", file_, line_,
                       text_ != nullptr ? text_->c_str() : "");
}

KivFatalLogMessage& KivFatalLogMessage::operator<<(const char* text) {
  if (text_ == nullptr) text_ = std::make_unique<std::string>();
  text_->append(text);
  return *this;
}

}  // namespace android::kiv::internal
