#include "kiv/AssertionReport.h"

#include <android/log.h>

namespace android::kiv {

void logAssertionErrorCode(const char* condition, const char* detail, const char* function,
                           int line) {
  __android_log_print(ANDROID_LOG_ERROR, "KivAssertion", "%s failed in %s:%d%s%s", condition,
                      function, line, detail != nullptr ? ": " : "",
                      detail != nullptr ? detail : "");
}

}  // namespace android::kiv
